#include "engine/key_merging.h"

#include <algorithm>
#include <map>
#include <vector>

#include "engine/key_facts.h"
#include "engine/packets.h"
#include "engine/status.h"

namespace corvessa::engine {
namespace {

/// Whether a part that is loaded with nothing but its primary key is a name which that key gave
/// itself, or gave and took back.
bool IsProven(const std::string& primary, const KeyPart& user_id) {
  const Ffi scratch = MakeFfi();
  const auto loaded = LoadKeys(scratch.get(), primary + std::string(user_id.bytes));
  const auto key = loaded.empty() ? Key() : FindKey(scratch.get(), loaded.front());
  if (!key || Get<std::size_t>(rnp_key_get_uid_count, key.get()) != 1) return false;
  const auto uid = Make<UserId>(rnp_key_get_uid_handle_at, key.get(), std::size_t{0});
  return Get<bool>(rnp_uid_is_valid, uid.get()) || Get<bool>(rnp_uid_is_revoked, uid.get());
}

/// The key without the names that it did not give itself: a made-up one with a copy of a real
/// signature would make the library doubt the real one. "" when no name is left.
std::string WithProvenNames(std::string_view key) {
  const auto parts = SplitKey(key);
  if (parts.empty()) return {};
  std::string proven;
  bool has_name = false;
  for (const auto& part : parts) {
    const bool is_name = part.kind == KeyPart::Kind::kUserId;
    if (is_name && !IsProven(std::string(parts.front().bytes), part)) continue;
    has_name = has_name || is_name;
    proven += part.bytes;
  }
  return has_name ? proven : std::string();
}

std::string WithoutNames(std::string_view key) {
  std::string bare;
  for (const auto& part : SplitKey(key)) {
    if (part.kind != KeyPart::Kind::kUserId) bare += part.bytes;
  }
  return bare;
}

bool HoldsStub(const std::string& secret_key) {
  const Ffi scratch = MakeFfi();
  const auto loaded = LoadKeys(scratch.get(), secret_key);
  return !loaded.empty() && IsStub(FindKey(scratch.get(), loaded.front()).get());
}

/// A key of the data.
struct NewKey {
  KeyFacts facts;
  std::string bytes;
  bool has_secret = false;
};

std::vector<NewKey> KeysIn(std::string_view data) {
  std::vector<NewKey> keys;
  bool damaged = false;
  const std::string ring = BinaryKeys(data);
  for (const auto& piece : SplitKeyRing(ring, damaged)) {
    std::string bytes = ring.substr(piece.offset, piece.length);
    const Ffi scratch = MakeFfi();
    const auto loaded = LoadKeys(scratch.get(), bytes);
    if (loaded.empty()) continue;
    const auto key = FindKey(scratch.get(), loaded.front());
    const bool has_secret = HoldsSecretKeys(bytes);
    keys.push_back({FactsOf(key.get()), std::move(bytes), has_secret});
  }
  return keys;
}

[[noreturn]] void FailForClaim(const std::string& claimant, const std::string& key_id) {
  Fail(kInvalidKey, "The key " + claimant + " claims the key " + key_id +
                        ", which belongs to another one; nothing was taken.");
}

/// A secret key is taken whoever else claims it: its owner must not be kept from it.
void RefuseClaims(const KeyRings& rings, const std::vector<NewKey>& keys) {
  std::map<std::string, std::string> owners;
  for (const auto& key : keys) owners.emplace(key.facts.key_ids.front(), key.facts.fingerprint);
  for (const auto& key : keys) {
    if (key.has_secret) continue;
    const auto claimed = ClaimedKey(rings, key.facts);
    if (!claimed.empty()) FailForClaim(key.facts.fingerprint, claimed);
    for (const auto& id : key.facts.key_ids) {
      const auto& owner = owners.emplace(id, key.facts.fingerprint).first->second;
      if (owner != key.facts.fingerprint) FailForClaim(key.facts.fingerprint, id);
    }
  }
}

/// Puts a key and what the rings hold of it together. What the rings hold comes first: of two
/// secret keys the library keeps the one it has, and foreign data must not take the place of a key
/// that works. A secret key that is only a stub makes way for a whole one.
void Merge(rnp_ffi_t merged, const KeyRings& rings, const NewKey& key) {
  std::vector<std::string> first;
  std::vector<std::string> last;
  bool is_known = false;
  const std::string proven = WithProvenNames(key.bytes);
  for (const auto* entry : rings.FindByFingerprint(key.facts.fingerprint)) {
    std::string held = rings.Read(*entry);
    const bool holds_names = !WithProvenNames(held).empty();
    is_known = is_known || holds_names;
    if (!entry->secret && !holds_names && !proven.empty()) continue;
    (entry->secret && HoldsStub(held) ? last : first).push_back(std::move(held));
  }
  if (!proven.empty()) {
    first.push_back(proven);
  } else {
    // A revocation, say, is worth having without a name.
    first.push_back(is_known ? WithoutNames(key.bytes) : key.bytes);
  }
  for (const auto* list : {&first, &last}) {
    for (const auto& bytes : *list) LoadKeys(merged, bytes);
  }
}

}  // namespace

Ffi MergedWithRings(const KeyRings& rings, std::string_view data) {
  const auto keys = KeysIn(data);
  if (keys.empty()) Fail(kBadFormat, "There is no OpenPGP key in this.");
  RefuseClaims(rings, keys);
  Ffi merged = MakeFfi();
  for (const auto& key : keys) Merge(merged.get(), rings, key);
  return merged;
}

void RefuseLosses(const KeyRings& rings, const std::vector<KeyRings::NewKey>& keys) {
  for (const auto& key : keys) {
    for (const auto* entry : rings.FindByFingerprint(key.facts.fingerprint)) {
      if (entry->secret != key.secret) continue;
      if (SplitKey(rings.Read(*entry)).size() <= SplitKey(key.data).size()) continue;
      Fail(kKeyStoreTrouble, "The key " + key.facts.fingerprint +
                                 " holds parts that are unknown here and would be lost; nothing "
                                 "was taken.");
    }
  }
}

std::string ClaimedKey(const KeyRings& rings, const KeyFacts& facts) {
  for (std::size_t i = 1; i < facts.key_ids.size(); ++i) {
    for (const auto* entry : rings.FindByKeyId(facts.key_ids[i])) {
      if (entry->fingerprint != facts.fingerprint) return facts.key_ids[i];
    }
  }
  return {};
}

}  // namespace corvessa::engine
