#include <algorithm>
#include <set>

#include "base/address.h"
#include "engine/armour.h"
#include "engine/key_facts.h"
#include "engine/key_generation.h"
#include "engine/key_merging.h"
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

std::string AlgorithmOf(rnp_key_handle_t primary) {
  const std::string algorithm = Text(rnp_key_get_alg, primary);
  if (algorithm != "RSA" && algorithm != "DSA") return algorithm;
  return algorithm + " " + std::to_string(Get<std::uint32_t>(rnp_key_get_bits, primary));
}

std::vector<std::string> UserIdsOf(rnp_key_handle_t primary) {
  std::vector<std::string> user_ids;
  const auto count = Get<std::size_t>(rnp_key_get_uid_count, primary);
  for (std::size_t i = 0; i < count; ++i) user_ids.push_back(Text(rnp_key_get_uid_at, primary, i));
  return user_ids;
}

bool HasSecretPart(rnp_ffi_t ffi, rnp_key_handle_t primary) {
  return std::ranges::any_of(WithSubkeys(ffi, primary), [](const Key& key) {
    return Get<bool>(rnp_key_have_secret, key.get());
  });
}

bool HasOpenSecretPart(rnp_ffi_t ffi, rnp_key_handle_t primary) {
  return std::ranges::any_of(WithSubkeys(ffi, primary), [](const Key& key) {
    return Get<bool>(rnp_key_have_secret, key.get()) && !Get<bool>(rnp_key_is_protected, key.get());
  });
}

KeyInfo InfoOf(rnp_ffi_t ffi, rnp_key_handle_t primary) {
  const auto facts = FactsOf(primary);
  const auto created = Get<std::uint32_t>(rnp_key_get_creation, primary);
  const auto lifetime = Get<std::uint32_t>(rnp_key_get_expiration, primary);
  return {facts.fingerprint,
          UserIdsOf(primary),
          facts.addresses,
          AlgorithmOf(primary),
          created,
          lifetime == 0 ? 0 : std::int64_t{created} + lifetime,
          HasSecretPart(ffi, primary),
          HasOpenSecretPart(ffi, primary),
          Get<bool>(rnp_key_is_revoked, primary),
          Get<bool>(rnp_key_is_expired, primary),
          UsableFor(ffi, primary, "encrypt") != nullptr};
}

/// What the rings are to hold of a key of the scratch store.
void AddForRings(rnp_ffi_t ffi, rnp_key_handle_t primary, std::vector<KeyRings::NewKey>& keys) {
  const auto facts = FactsOf(primary);
  keys.push_back({false, facts, ExportPublic(primary)});
  if (HasSecretPart(ffi, primary)) keys.push_back({true, facts, ExportSecret(primary)});
}

void TellOfLeftOut(const LeftOut& left_out) {
  if (left_out.keys == 0 && left_out.subkeys == 0) return;
  Fail(kBadFormat,
       "What is of a kind unknown here was left out (keys: " + std::to_string(left_out.keys) +
           ", subkeys: " + std::to_string(left_out.subkeys) + "); the rest was taken.");
}

/// The entries that an address or a fingerprint means, in the order of the rings.
std::vector<const RingEntry*> Meant(const KeyRings& rings, std::string_view who) {
  auto entries = rings.FindByAddress(NormalAddress(who));
  return entries.empty() ? rings.FindByFingerprint(who) : entries;
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
    const auto key = GenerateKeyPair(scratch.get(), user_id, SecretString(passphrase));
    std::vector<KeyRings::NewKey> keys;
    AddForRings(scratch.get(), key.get(), keys);
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
    }
    RefuseLosses(keys_.rings(), keys);
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

EngineStatus LibrnpEngine::ListKeys(std::vector<KeyInfo>& keys) {
  return Attempt([&] {
    std::vector<KeyInfo> infos;
    std::set<std::string_view> seen;
    for (const auto& entry : keys_.rings().Entries()) {
      if (!seen.insert(entry.fingerprint).second) continue;
      const Ffi scratch = MakeFfi();
      for (const auto* half : keys_.rings().FindByFingerprint(entry.fingerprint)) {
        LoadKeys(scratch.get(), keys_.rings().Read(*half));
      }
      const auto key = FindKey(scratch.get(), std::string(entry.fingerprint));
      if (key) infos.push_back(InfoOf(scratch.get(), key.get()));
    }
    keys = std::move(infos);
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
