#include <algorithm>
#include <set>
#include <unordered_set>

#include "base/address.h"
#include "engine/armour.h"
#include "engine/key_facts.h"
#include "engine/key_import.h"
#include "engine/key_info.h"
#include "engine/librnp_engine.h"

namespace corvessa::engine {
namespace {

/// The library makes no longer ones.
constexpr std::size_t kLongestUserId = 128;

std::string UserIdFor(std::string_view name, std::string_view address) {
  std::string normal = NormalAddress(address);
  if (!IsAddress(normal)) {
    Fail(kInvalidKey, "\"" + std::string(address) + "\" is not an email address.");
  }
  const bool plain_name = std::ranges::none_of(
      name, [](char c) { return c == '<' || c == '>' || static_cast<unsigned char>(c) < ' '; });
  if (!plain_name) Fail(kInvalidKey, "A name for a key holds neither < nor > nor line breaks.");
  std::string user_id = name.empty() ? normal : std::string(name) + " <" + normal + ">";
  if (user_id.size() > kLongestUserId) {
    Fail(kInvalidKey, "A name for a key takes, with the address, at most " +
                          std::to_string(kLongestUserId) + " bytes.");
  }
  return user_id;
}

bool HasSecretPart(rnp_ffi_t ffi, rnp_key_handle_t primary) {
  return std::ranges::any_of(WithSubkeys(ffi, primary), [](const Key& key) {
    return Get<bool>(rnp_key_have_secret, key.get());
  });
}

/// What the rings are to hold of a key of the scratch store.
void AddForRings(rnp_ffi_t ffi, rnp_key_handle_t primary, std::vector<KeyRings::NewKey>& keys) {
  const auto facts = FactsOf(primary);
  keys.push_back({false, facts, FormatInfo(ffi, primary, /*secret=*/false), ExportPublic(primary)});
  if (!HasSecretPart(ffi, primary)) return;
  keys.push_back({true, facts, FormatInfo(ffi, primary, /*secret=*/true), ExportSecret(primary)});
}

void TellOfLeftOut(const LeftOut& left_out) {
  if (left_out.keys == 0 && left_out.subkeys == 0) return;
  std::string trouble = KindTrouble(left_out);
  if (!trouble.empty()) trouble += ' ';
  Fail(kBadFormat, trouble + "What is of a kind unknown here was left out (keys: " +
                       std::to_string(left_out.keys) +
                       ", subkeys: " + std::to_string(left_out.subkeys) + "); the rest was taken.");
}

/// The entries that an address or a fingerprint means, in the order of the rings.
KeyIndex::Found Meant(const KeyRings& rings, std::string_view who) {
  auto entries = rings.FindByAddress(NormalAddress(who));
  return entries.empty() ? rings.FindByFingerprint(who) : entries;
}

KeyInfo InfoOfEntry(const KeyRings& rings, const RingEntry& entry) {
  if (auto info = ReadInfo(entry)) return *std::move(info);
  const Ffi scratch = MakeFfi();
  LoadKeys(scratch.get(), rings.Read(entry));
  const auto key = FindKey(scratch.get(), std::string(entry.fingerprint));
  if (!key) Fail(kKeyStoreTrouble, "Cannot read the key " + std::string(entry.fingerprint) + ".");
  return InfoOf(scratch.get(), key.get());
}

/// The keys that have entries among those, each once, in their order.
template <typename Entries, typename ToEntry>
std::vector<KeyInfo> InfosOf(const KeyRings& rings, const Entries& entries, ToEntry to_entry) {
  std::vector<KeyInfo> infos;
  std::unordered_set<std::string_view> seen;
  for (const auto& item : entries) {
    const RingEntry& entry = to_entry(item);
    if (!seen.insert(entry.fingerprint).second) continue;
    const auto halves = rings.FindByFingerprint(entry.fingerprint);
    auto& info = infos.emplace_back(InfoOfEntry(rings, *halves.front()));
    for (const auto* half : halves) AddHalf(InfoOfEntry(rings, *half), info);
  }
  return infos;
}

/// The fingerprint of a key that mail to the address can be encrypted to, by what the index says,
/// so that the key need not be loaded and checked; empty when it says of none.
std::string UsableByIndex(const KeyRings& rings, std::string_view address) {
  const auto keys = InfosOf(rings, rings.FindByAddress(address),
                            [](const RingEntry* entry) -> const RingEntry& { return *entry; });
  const auto usable = std::ranges::find(keys, true, &KeyInfo::encrypts);
  return usable == keys.end() ? std::string() : usable->fingerprint;
}

/// The addresses of a key that the rings do not know it by.
std::vector<std::string> NewAddresses(const KeyRings& rings, const KeyInfo& key) {
  std::vector<std::string> added;
  for (const auto& address : key.addresses) {
    const bool is_known = std::ranges::any_of(
        rings.FindByFingerprint(key.fingerprint),
        [&](const RingEntry* entry) { return Lists(entry->addresses, address); });
    if (!is_known) added.push_back(address);
  }
  return added;
}

std::string PublicKeysOf(KeyStore& keys, std::string_view who) {
  std::string data;
  std::set<std::string_view> seen;  // public entries come first
  for (const auto* entry : Meant(keys.rings(), who)) {
    if (seen.insert(entry->fingerprint).second) data += keys.ReadPublic(*entry);
  }
  if (data.empty()) keys.FailMissing("No key for " + std::string(who) + ".");
  return Armour(data, "public key", {});
}

std::string SecretKeysOf(KeyStore& keys, std::string_view who) {
  std::string data;
  for (const auto* entry : Meant(keys.rings(), who)) {
    if (entry->secret) data += keys.rings().Read(*entry);
  }
  if (data.empty()) keys.FailMissing("No secret key for " + std::string(who) + ".");
  return Armour(data, "secret key", {});
}

}  // namespace

EngineStatus LibrnpEngine::GenerateKey(std::string_view name, std::string_view address,
                                       std::string_view passphrase, KeyInfo& made) {
  return Attempt([&] {
    const std::string user_id = UserIdFor(name, address);
    if (passphrase.empty()) Fail(kWrongPassphrase, "A secret key needs a passphrase.");
    const Ffi scratch = MakeFfi();
    const auto key =
        GenerateKeyPair(scratch.get(), user_id, SecretString(passphrase), config_.passphrase_work);
    std::vector<KeyRings::NewKey> keys;
    AddForRings(scratch.get(), key.get(), keys);
    RequireCaller();
    keys_.Store(KeyRings::Lock(keys_.rings().Folder()), keys);
    made = InfoOf(scratch.get(), key.get());
    return kDone;
  });
}

EngineStatus LibrnpEngine::ImportKeys(std::string_view data, const AskPassphrase& ask,
                                      std::vector<KeyInfo>& imported) {
  return Attempt([&] {
    const KeyRings::Lock lock(keys_.rings().Folder());
    keys_.Refresh();
    std::vector<KeyRings::NewKey> keys;
    std::vector<KeyInfo> infos;
    const auto found = MergedWithRings(keys_.rings(), data, ask);
    for (const auto& merged : found.keys) {
      const auto key = FindKey(merged.ffi.get(), merged.fingerprint);
      AddForRings(merged.ffi.get(), key.get(), keys);
      infos.push_back(InfoOf(merged.ffi.get(), key.get()));
      infos.back().new_addresses = NewAddresses(keys_.rings(), infos.back());
    }
    RefuseLosses(keys_.rings(), keys);
    RequireCaller();
    keys_.Store(lock, keys);
    imported = std::move(infos);
    TellOfLeftOut(found.left_out);
    return kDone;
  });
}

EngineStatus LibrnpEngine::ExportPublicKeys(std::string_view who, std::string& armoured) {
  return Attempt([&] {
    armoured = PublicKeysOf(keys_, who);
    return kDone;
  });
}

EngineStatus LibrnpEngine::ExportSecretKeys(std::string_view who, std::string& armoured) {
  return Attempt([&] {
    armoured = SecretKeysOf(keys_, who);
    return kDone;
  });
}

EngineStatus LibrnpEngine::RemoveKeys(std::string_view who) {
  return Attempt([&] {
    const KeyRings::Lock lock(keys_.rings().Folder());
    keys_.Refresh();
    const auto entries = Meant(keys_.rings(), who);
    if (entries.empty()) keys_.FailMissing("No key for " + std::string(who) + ".");
    RequireCaller();
    keys_.Remove(lock, entries);
    return kDone;
  });
}

EngineStatus LibrnpEngine::QueryKeyPair(std::string_view address, std::string& text) {
  const auto status = Attempt([&] {
    const std::string normal = NormalAddress(address);
    std::string usable = UsableByIndex(keys_.rings(), normal);
    if (usable.empty()) usable = Text(rnp_key_get_fprint, UsableKeys({normal}).front().get());
    text = std::move(usable);
    return kDone;
  });
  // Whatever else is the matter, it does not say that the address has no key.
  return status == kDone || status == kNoKey ? status : kCannotTell;
}

EngineStatus LibrnpEngine::ListKeys(std::vector<KeyInfo>& keys) {
  return Attempt([&] {
    keys = InfosOf(keys_.rings(), keys_.rings().Entries(),
                   [](const RingEntry& entry) -> const RingEntry& { return entry; });
    return kDone;
  });
}

EngineStatus LibrnpEngine::FindKeys(std::string_view who, std::vector<KeyInfo>& keys) {
  return Attempt([&] {
    keys = InfosOf(keys_.rings(), Meant(keys_.rings(), who),
                   [](const RingEntry* entry) -> const RingEntry& { return *entry; });
    return kDone;
  });
}

EngineStatus LibrnpEngine::PublishKeys(std::string_view address) {
  return Attempt([&] {
    // Other people's keys are theirs to publish.
    if (!keys_.HasSecret(NormalAddress(address))) {
      keys_.FailMissing("No secret key for " + std::string(address) + ".");
    }
    servers_.Publish(PublicKeysOf(keys_, address));
    return kDone;
  });
}

}  // namespace corvessa::engine
