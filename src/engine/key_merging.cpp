#include "engine/key_merging.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <vector>

#include "engine/key_facts.h"
#include "engine/key_proof.h"
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

/// A key of the data, which may hold its public and its secret half in several pieces.
struct NewKey {
  KeyFacts facts;
  std::vector<std::string> pieces;
  bool has_secret = false;
};

std::vector<NewKey> KeysIn(std::string_view data) {
  std::vector<NewKey> keys;
  bool damaged = false;
  const std::string ring = BinaryKeys(data);
  for (const auto& piece : SplitKeyRing(ring, damaged)) {
    const std::string bytes = ring.substr(piece.offset, piece.length);
    const Ffi scratch = MakeFfi();
    const auto loaded = LoadKeys(scratch.get(), bytes);
    if (loaded.empty()) continue;
    const auto facts = FactsOf(FindKey(scratch.get(), loaded.front()).get());
    auto key = std::ranges::find(keys, facts.fingerprint,
                                 [](const NewKey& known) { return known.facts.fingerprint; });
    if (key == keys.end()) key = keys.insert(key, {facts, {}, false});
    key->pieces.push_back(bytes);
    key->has_secret = key->has_secret || HoldsSecretKeys(bytes);
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

/// What the rings hold of a key.
struct HeldKey {
  std::vector<std::string> public_halves;
  std::vector<std::string> secret_halves;
};

HeldKey Held(const KeyRings& rings, const std::string& fingerprint) {
  HeldKey held;
  for (const auto* entry : rings.FindByFingerprint(fingerprint)) {
    (entry->secret ? held.secret_halves : held.public_halves).push_back(rings.Read(*entry));
  }
  return held;
}

/// The key is known, and its secret half is not the one that is known.
bool BringsAnotherSecret(const HeldKey& held, const NewKey& key) {
  if (!key.has_secret || (held.public_halves.empty() && held.secret_halves.empty())) return false;
  if (held.secret_halves.empty()) return true;
  std::set<std::string_view> known;
  for (const auto& half : held.secret_halves) {
    for (const auto& body : SecretPackets(half)) known.insert(body);
  }
  return std::ranges::any_of(key.pieces, [&](const std::string& piece) {
    return std::ranges::any_of(SecretPackets(piece), [&](std::string_view body) {
      return !IsStubPacket(body) && !known.contains(body);
    });
  });
}

/// Loads the pieces of one key. Of two secret halves the library keeps the one that came first,
/// which is not to be a stub where there is a whole one.
void LoadPieces(rnp_ffi_t ffi, const std::string& fingerprint,
                const std::vector<std::string>& pieces) {
  for (const auto& piece : pieces) {
    LoadKeys(ffi, piece);
    ForgetStubs(ffi, fingerprint);
  }
  for (const auto& piece : pieces) LoadKeys(ffi, piece);
}

/// What is to be taken of the key: its proven names, or everything but names if there are none and
/// the key is known by others. (A revocation, say, is worth having without a name.)
std::vector<std::string> Taken(const NewKey& key, bool is_known) {
  std::vector<std::string> taken;
  for (const auto& piece : key.pieces) {
    const std::string proven = WithProvenNames(piece);
    taken.push_back(!proven.empty() ? proven : is_known ? WithoutNames(piece) : piece);
  }
  return taken;
}

bool HasProvenNames(const std::string& key) {
  return !WithProvenNames(key).empty();
}

/// Puts a key and what the rings hold of it together.
Ffi Merged(const KeyRings& rings, const NewKey& key, const AskPassphrase& ask) {
  auto held = Held(rings, key.facts.fingerprint);
  const bool is_newer_secret = BringsAnotherSecret(held, key);
  if (is_newer_secret) RequireProof(key.facts, key.pieces, ask);
  const bool is_known = std::ranges::any_of(held.public_halves, HasProvenNames) ||
                        std::ranges::any_of(held.secret_halves, HasProvenNames);
  if (std::ranges::any_of(key.pieces, HasProvenNames)) {
    std::erase_if(held.public_halves, std::not_fn(HasProvenNames));
  }
  auto pieces = std::move(held.secret_halves);
  pieces.insert(pieces.end(), held.public_halves.begin(), held.public_halves.end());
  const auto taken = Taken(key, is_known);
  pieces.insert(is_newer_secret ? pieces.begin() : pieces.end(), taken.begin(), taken.end());
  Ffi merged = MakeFfi();
  LoadPieces(merged.get(), key.facts.fingerprint, pieces);
  return merged;
}

}  // namespace

std::vector<MergedKey> MergedWithRings(const KeyRings& rings, std::string_view data,
                                       const AskPassphrase& ask) {
  const auto keys = KeysIn(data);
  if (keys.empty()) Fail(kBadFormat, "There is no OpenPGP key in this.");
  RefuseClaims(rings, keys);
  std::vector<MergedKey> merged;
  for (const auto& key : keys) {
    merged.push_back({key.facts.fingerprint, Merged(rings, key, ask)});
  }
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
