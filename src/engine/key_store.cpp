#include "engine/key_store.h"

#include <algorithm>
#include <tuple>

#include "engine/key_facts.h"
#include "engine/key_import.h"
#include "engine/packets.h"
#include "engine/status.h"

namespace corvessa::engine {
namespace {

/// The key's secret packets with a passphrase: those expected to be used first, then those that
/// would sign. A primary key may be absent with only its subkeys here.
std::vector<Key> ProtectedPackets(rnp_ffi_t ffi, rnp_key_handle_t primary,
                                  const std::set<std::string>& expected) {
  auto keys = WithSubkeys(ffi, primary);
  std::erase_if(keys, [](const Key& key) {
    return !Get<bool>(rnp_key_have_secret, key.get()) || IsStub(key.get()) ||
           !Get<bool>(rnp_key_is_protected, key.get());
  });
  std::vector<std::string> signing;
  for (const auto& key : AllUsableFor(ffi, primary, "sign"))
    signing.push_back(Text(rnp_key_get_keyid, key.get()));
  std::ranges::stable_sort(keys, {}, [&](const Key& key) {
    const std::string id = Text(rnp_key_get_keyid, key.get());
    return expected.contains(id) ? -1 : std::ranges::find(signing, id) - signing.begin();
  });
  return keys;
}

/// Opens one packet of the key; false when the passphrase opens none. A key without protection
/// takes any.
bool OpenOne(rnp_ffi_t ffi, const std::string& fingerprint, const SecretString& passphrase,
             const std::set<std::string>& expected) {
  const auto primary = FindKey(ffi, fingerprint);
  if (!primary) return false;
  const auto keys = ProtectedPackets(ffi, primary.get(), expected);
  return keys.empty() || std::ranges::any_of(keys, [&](const Key& key) {
           return rnp_key_unlock(key.get(), passphrase.View().data()) == RNP_SUCCESS;
         });
}

void ForgetSecret(rnp_ffi_t ffi, const std::string& fingerprint) {
  const auto primary = FindKey(ffi, fingerprint);
  if (!primary) return;
  for (const auto& key : WithSubkeys(ffi, primary.get())) {
    if (!Get<bool>(rnp_key_have_secret, key.get())) continue;
    Check(rnp_key_remove(key.get(), RNP_KEY_REMOVE_SECRET));
  }
}

/// Tried on a copy: the library takes any passphrase for a key that is open already.
bool Fits(const std::string& data, const std::string& fingerprint, const SecretString& passphrase) {
  const Ffi scratch = MakeFfi();
  LoadKeys(scratch.get(), data);
  return OpenOne(scratch.get(), fingerprint, passphrase, {});
}

}  // namespace

KeyStore::KeyStore(const std::filesystem::path& folder) : rings_(folder), ffi_(MakeFfi()) {}

// The library closes an error stream that is not the present one: each store of it is to go while
// the stream is the one that it was made with.
KeyStore::~KeyStore() {
  const QuietLibrary quiet;
  apart_.clear();
}

void KeyStore::Refresh() {
  if (rings_.Refresh()) ForgetLoaded();
}

void KeyStore::Store(const KeyRings::Lock& lock, const std::vector<KeyRings::NewKey>& keys) {
  rings_.Store(lock, keys);
  ForgetLoaded();
}

void KeyStore::Remove(const KeyRings::Lock& lock, const std::vector<const RingEntry*>& entries) {
  rings_.Remove(lock, entries);
  ForgetLoaded();
}

void KeyStore::ForgetLoaded() {
  auto in_use = loaded_;
  for (const UnlockedKey& unlocked : unlocked_) in_use.insert(unlocked.fingerprint);
  for (const auto& fingerprint : in_use) {
    if (rings_.FindByFingerprint(fingerprint).empty()) Unload(fingerprint);
  }
  loaded_.clear();
  apart_.clear();
}

void KeyStore::FailMissing(std::string message, platform::EngineTrouble trouble) const {
  if (auto damage = rings_.Trouble(); !damage.empty()) {
    Fail(kKeyStoreTrouble, std::move(damage));
  }
  Fail(kNoKey, std::move(message), std::move(trouble));
}

void KeyStore::Unload(const std::string& fingerprint) {
  const auto primary = FindKey(ffi_.get(), fingerprint);
  if (!primary) return;
  std::erase_if(unlocked_,
                [&](const UnlockedKey& unlocked) { return unlocked.fingerprint == fingerprint; });
  // The library refuses to remove a secret key that is not there.
  const bool has_secret = Get<bool>(rnp_key_have_secret, primary.get());
  Check(rnp_key_remove(primary.get(), RNP_KEY_REMOVE_PUBLIC | RNP_KEY_REMOVE_SUBKEYS |
                                          (has_secret ? RNP_KEY_REMOVE_SECRET : 0U)));
}

bool KeyStore::IsOwn(const std::string& fingerprint) const {
  return std::ranges::any_of(rings_.FindByFingerprint(fingerprint),
                             [](const RingEntry* entry) { return entry->secret; });
}

bool KeyStore::HasSecret(std::string_view address) const {
  return std::ranges::any_of(rings_.FindByAddress(address),
                             [](const RingEntry* entry) { return entry->secret; });
}

std::string KeyStore::ReadPublic(const RingEntry& entry) const {
  std::string data = rings_.Read(entry);
  if (!HoldsSecretKeys(data)) return data;
  const Ffi scratch = MakeFfi();
  LoadKeys(scratch.get(), data);
  const auto key = FindKey(scratch.get(), std::string(entry.fingerprint));
  return key ? ExportPublic(key.get()) : std::string();
}

Key KeyStore::Load(const RingEntry& entry) {
  const std::string fingerprint(entry.fingerprint);
  if (loaded_.insert(fingerprint).second) {
    LoadKeys(ffi_.get(), WithoutClaims(rings_, entry, ReadPublic(entry)));
  }
  auto key = FindKey(ffi_.get(), fingerprint);
  if (!key) Fail(kKeyStoreTrouble, "The key " + fingerprint + " cannot be read from its ring.");
  return key;
}

KeyStore::LoadedKey KeyStore::LoadWhole(const RingEntry& entry) {
  if (!IsContested(rings_, entry)) return {ffi_.get(), Load(entry)};
  const std::string fingerprint(entry.fingerprint);
  auto& apart = apart_[fingerprint];
  if (!apart) {
    apart = MakeFfi();
    LoadKeys(apart.get(), ReadPublic(entry));
  }
  return {apart.get(), FindKey(apart.get(), fingerprint)};
}

std::vector<KeyStore::LoadedKey> KeyStore::PublicKeys(std::string_view address) {
  std::vector<LoadedKey> keys;
  for (const auto* entry : rings_.FindByAddress(address)) keys.push_back(LoadWhole(*entry));
  // Whom the user has a key of, usable or not, no key server speaks for.
  if (keys.empty()) {
    for (const auto& [fingerprint, addresses] : looked_up_) {
      if (!addresses.contains(std::string(address))) continue;
      keys.push_back({ffi_.get(), FindKey(ffi_.get(), fingerprint)});
    }
  }
  std::erase_if(keys, [&](const LoadedKey& key) {
    return !key.primary || !CarriesAddress(key.primary.get(), address);
  });
  return keys;
}

Key KeyStore::FindUsable(std::string_view address, const char* usage) {
  Key best;
  std::tuple<bool, bool, std::uint32_t> best_rank;
  for (const auto& [ffi, primary] : PublicKeys(address)) {
    auto usable = UsableFor(ffi, primary.get(), usage);
    const std::string fingerprint = Text(rnp_key_get_fprint, primary.get());
    const std::tuple rank(IsOwn(fingerprint), !IsOnlyLookedUp(fingerprint),
                          Get<std::uint32_t>(rnp_key_get_creation, primary.get()));
    if (!usable || (best && rank <= best_rank)) continue;
    best = std::move(usable);
    best_rank = rank;
  }
  return best;
}

bool KeyStore::LoadByKeyId(std::string_view key_id) {
  const auto entries = rings_.FindByKeyId(key_id);
  for (const auto* entry : entries) Load(*entry);
  return !entries.empty();
}

Key KeyStore::PrimaryOf(rnp_key_handle_t key) const {
  const bool is_primary = Get<bool>(rnp_key_is_primary, key);
  return FindKey(ffi_.get(),
                 Text(is_primary ? rnp_key_get_fprint : rnp_key_get_primary_fprint, key));
}

void KeyStore::AddLookedUp(std::string_view data, const std::string& address,
                           const Wanted& wanted) {
  const Ffi scratch = MakeFfi();
  for (const auto& fingerprint : LoadKeys(scratch.get(), data)) {
    const auto key = FindKey(scratch.get(), fingerprint);
    const auto entries = rings_.FindByFingerprint(fingerprint);
    if (!entries.empty()) {
      Update(*entries.front(), ExportPublic(key.get()), wanted);
      continue;
    }
    // A key without names is an update for those who know whose it is.
    if (Get<std::size_t>(rnp_key_get_uid_count, key.get()) == 0 || !wanted(key.get()) ||
        !ClaimedKey(rings_, FactsOf(key.get())).empty()) {
      continue;
    }
    LoadKeys(ffi_.get(), ExportPublic(key.get()));
    auto& addresses = looked_up_[fingerprint];
    if (!address.empty()) addresses.insert(address);
  }
}

void KeyStore::Update(const RingEntry& entry, std::string_view looked_up, const Wanted& wanted) {
  const std::string fingerprint(entry.fingerprint);
  if (IsOwn(fingerprint) || IsContested(rings_, entry)) return;
  const std::string held = ReadPublic(entry);
  const Ffi scratch = MakeFfi();
  LoadKeys(scratch.get(), held);
  LoadKeys(scratch.get(), WithoutNewNames(looked_up, held));
  const auto key = FindKey(scratch.get(), fingerprint);
  if (!key || !wanted(key.get()) || !ClaimedKey(rings_, FactsOf(key.get())).empty()) return;
  Load(entry);
  LoadKeys(ffi_.get(), ExportPublic(key.get()));
}

bool KeyStore::IsOnlyLookedUp(const std::string& fingerprint) const {
  return looked_up_.contains(fingerprint) && rings_.FindByFingerprint(fingerprint).empty();
}

void KeyStore::Unlock(std::string_view address, const SecretString& passphrase) {
  bool has_secret = false;
  bool fits = false;
  for (const auto* entry : rings_.FindByAddress(address)) {
    if (!entry->secret) continue;
    has_secret = true;
    const std::string fingerprint(entry->fingerprint);
    const std::string data = rings_.Read(*entry);
    const auto known = std::ranges::find(unlocked_, fingerprint, &UnlockedKey::fingerprint);
    if (known != unlocked_.end()) {
      if (!Fits(data, fingerprint, passphrase)) continue;
      unlocked_.erase(known);
    }
    // Also what has come to a key since it was unlocked, in place of what the library would keep.
    ForgetSecret(ffi_.get(), fingerprint);
    LoadKeys(ffi_.get(), data);
    if (!OpenOne(ffi_.get(), fingerprint, passphrase, expected_)) continue;
    unlocked_.push_back({fingerprint, passphrase});
    fits = true;
  }
  if (!has_secret) FailMissing("No secret key for " + std::string(address) + ".");
  if (!fits) Fail(kWrongPassphrase, "Wrong passphrase for " + std::string(address) + ".");
}

void KeyStore::LockAll() {
  for (const auto& unlocked : unlocked_) {
    const auto primary = FindKey(ffi_.get(), unlocked.fingerprint);
    for (const auto& key : WithSubkeys(ffi_.get(), primary.get())) rnp_key_lock(key.get());
  }
  unlocked_.clear();
  expected_.clear();
  Check(rnp_unload_keys(ffi_.get(), RNP_KEY_UNLOAD_SECRET));
}

std::vector<std::string> KeyStore::Unlocked(std::string_view address) const {
  const auto entries = rings_.FindByAddress(address);
  std::vector<std::string> fingerprints;
  for (const auto& unlocked : unlocked_) {
    if (address.empty() || std::ranges::any_of(entries, [&](const RingEntry* entry) {
          return entry->fingerprint == unlocked.fingerprint;
        })) {
      fingerprints.push_back(unlocked.fingerprint);
    }
  }
  return fingerprints;
}

bool KeyStore::Open(std::string_view unlocked, const std::string& key_id) {
  if (IsOpen(key_id)) return true;
  const auto known = std::ranges::find(unlocked_, unlocked, &UnlockedKey::fingerprint);
  if (known == unlocked_.end() || known->refused.contains(key_id)) return false;
  const auto key = Make<Key>(rnp_locate_key, ffi_.get(), "keyid", key_id.c_str());
  if (key && Get<bool>(rnp_key_have_secret, key.get()) && !IsStub(key.get()) &&
      rnp_key_unlock(key.get(), known->passphrase.View().data()) == RNP_SUCCESS) {
    return true;
  }
  known->refused.insert(key_id);
  return false;
}

bool KeyStore::IsOpen(const std::string& key_id) const {
  const auto key = Make<Key>(rnp_locate_key, ffi_.get(), "keyid", key_id.c_str());
  return key && Get<bool>(rnp_key_have_secret, key.get()) &&
         !Get<bool>(rnp_key_is_locked, key.get());
}

}  // namespace corvessa::engine
