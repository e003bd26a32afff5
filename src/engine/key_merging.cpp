#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <vector>

#include "engine/key_facts.h"
#include "engine/key_import.h"
#include "engine/packets.h"
#include "engine/status.h"

namespace corvessa::engine {
namespace {

/// Whether a part that is loaded with nothing but its primary key packet (not that one's
/// signatures, which would all be checked again for each name) is a name which that key gave
/// itself, or gave and took back.
bool IsProven(std::string_view primary, const KeyPart& user_id) {
  const Ffi scratch = MakeFfi();
  const auto loaded = LoadKeys(scratch.get(), std::string(primary) + std::string(user_id.bytes));
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
    if (is_name && !IsProven(FirstPacket(key), part)) continue;
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

bool IsAnothers(const KeyRings& rings, std::string_view fingerprint, std::string_view key_id) {
  return std::ranges::any_of(rings.FindByKeyId(key_id), [&](const RingEntry* entry) {
    return entry->fingerprint != fingerprint;
  });
}

/// The subkey is another's as well and did not sign its binding.
bool IsClaim(const KeyRings& rings, std::string_view primary, const KeyPart& subkey) {
  const Ffi scratch = MakeFfi();
  const auto loaded = LoadKeys(scratch.get(), std::string(primary).append(subkey.bytes));
  const auto key = loaded.empty() ? Key() : FindKey(scratch.get(), loaded.front());
  if (!key || Get<std::size_t>(rnp_key_get_subkey_count, key.get()) == 0) return false;
  const auto claimed = Make<Key>(rnp_key_get_subkey_at, key.get(), std::size_t{0});
  return !MaySign(claimed.get()) &&
         IsAnothers(rings, loaded.front(), Text(rnp_key_get_keyid, claimed.get()));
}

/// A key of the data, which may hold its public and its secret half in several pieces.
struct NewKey {
  KeyFacts facts;
  std::vector<std::string> pieces;
  bool has_secret = false;
  Ffi loaded;  ///< with nothing but the key, while it is in one piece
};

std::size_t SubkeysIn(std::string_view key) {
  std::set<std::string_view> subkeys;
  for (const auto& part : SplitKey(key)) {
    if (part.kind == KeyPart::Kind::kSubkey) subkeys.insert(FirstBody(part.bytes));
  }
  return subkeys.size();
}

/// The data's keys, and how much of it the library does not understand.
struct NewKeys {
  std::vector<NewKey> keys;
  std::map<std::string, std::size_t, std::less<>> places;  ///< of their fingerprints
  LeftOut left_out;

  void Add(const std::string& piece);
};

/// What a primary key packet is of that the library does not know; empty for anything else.
std::string UnknownKind(std::string_view body) {
  constexpr int kLastVersion = 4;
  constexpr int kMostBits = 16384;
  if (body.empty()) return {};
  const auto number_at = [&](std::size_t at) { return int{static_cast<std::uint8_t>(body[at])}; };
  if (number_at(0) > kLastVersion) return "version " + std::to_string(number_at(0));
  // Before version 4 the time of expiry comes before the algorithm.
  const std::size_t algorithm_at = number_at(0) == kLastVersion ? 5 : 7;
  if (body.size() < algorithm_at + 3) return {};
  const int algorithm = number_at(algorithm_at);
  static constexpr int kOfBits[] = {1, 2, 3, 16, 17, 20};  // RSA, ElGamal, DSA
  static constexpr int kOfCurves[] = {18, 19, 22};
  if (std::ranges::find(kOfBits, algorithm) != std::end(kOfBits)) {
    const int bits = number_at(algorithm_at + 1) << 8 | number_at(algorithm_at + 2);
    return bits > kMostBits ? std::to_string(bits) + " bits" : std::string();
  }
  const bool is_known = std::ranges::find(kOfCurves, algorithm) != std::end(kOfCurves);
  return is_known ? std::string() : "algorithm " + std::to_string(algorithm);
}

void NewKeys::Add(const std::string& piece) {
  Ffi scratch = MakeFfi();
  const auto loaded = LoadKeys(scratch.get(), piece);
  if (loaded.empty()) {
    ++left_out.keys;
    if (auto kind = UnknownKind(FirstBody(piece)); !kind.empty()) {
      left_out.kinds.insert(std::move(kind));
    }
    return;
  }
  const auto facts = FactsOf(FindKey(scratch.get(), loaded.front()).get());
  const auto subkeys = SubkeysIn(piece);
  const auto understood = facts.key_ids.size() - 1;
  if (subkeys > understood) left_out.subkeys += subkeys - understood;
  const auto [place, is_new] = places.emplace(facts.fingerprint, keys.size());
  if (is_new) keys.push_back({facts, {}, false, {}});
  auto& key = keys[place->second];
  key.pieces.push_back(piece);
  key.has_secret = key.has_secret || HoldsSecretKeys(piece);
  key.loaded = is_new ? std::move(scratch) : Ffi();
}

/// A revocation may come without its key, or behind another one.
void AddRevocations(const KeyRings& rings, std::string_view data, NewKeys& found) {
  for (const auto& revocation : KeyRevocations(data)) {
    for (const auto& entry : rings.Entries()) {
      const auto id = KeyIdBytes(entry.key_ids.substr(0, entry.key_ids.find(',')));
      if (revocation.find(id) == std::string_view::npos) continue;
      if (found.places.contains(entry.fingerprint)) continue;
      const std::string held = rings.Read(entry);
      found.Add(std::string(FirstPacket(held)).append(revocation));
    }
  }
}

NewKeys KeysIn(const KeyRings& rings, std::string_view data) {
  NewKeys found;
  const std::string bytes = BinaryKeys(data);
  std::string_view ring = bytes;
  const auto revocations = KeyRevocations(ring);
  for (const auto& revocation : revocations) {
    if (revocation.data() == ring.data()) ring.remove_prefix(revocation.size());
  }
  bool damaged = false;
  for (const auto& piece : SplitKeyRing(ring, damaged)) {
    found.Add(WithRevocationsFirst(ring.substr(piece.offset, piece.length)));
  }
  AddRevocations(rings, bytes, found);
  if (found.keys.empty()) {
    if (!found.left_out.kinds.empty()) Fail(kBadFormat, KindTrouble(found.left_out));
    Fail(kBadFormat, revocations.empty() ? "There is no OpenPGP key in this."
                                         : "This revokes a key that is not in the rings.");
  }
  if (damaged) Fail(kBadContent, "This is cut off or damaged; nothing was taken.");
  return found;
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
  if (pieces.size() > 1) {
    for (const auto& piece : pieces) {
      LoadKeys(ffi, piece);
      ForgetStubs(ffi, fingerprint);
    }
  }
  for (const auto& piece : pieces) LoadKeys(ffi, piece);
}

bool HasProvenNames(const std::string& key) {
  return !WithProvenNames(key).empty();
}

/// The key is in one piece whose only name holds, as most keys are. (Two names could share a
/// signature.)
bool IsPlain(const NewKey& key) {
  const auto is_name = [](const KeyPart& part) { return part.kind == KeyPart::Kind::kUserId; };
  if (!key.loaded || std::ranges::count_if(SplitKey(key.pieces.front()), is_name) != 1)
    return false;
  const auto primary = FindKey(key.loaded.get(), key.facts.fingerprint);
  return Get<std::size_t>(rnp_key_get_uid_count, primary.get()) == 1 &&
         HasValidUserId(primary.get());
}

/// Puts a key and what the rings hold of it together: of its pieces the proven names, or everything
/// but names if there are none and the key is known by others. (A revocation, say, is worth having
/// without a name.)
Ffi Merged(const KeyRings& rings, NewKey& key, const AskPassphrase& ask) {
  auto held = Held(rings, key.facts.fingerprint);
  if (held.public_halves.empty() && held.secret_halves.empty() && IsPlain(key)) {
    return std::move(key.loaded);
  }
  const bool is_newer_secret = BringsAnotherSecret(held, key);
  if (is_newer_secret) RequireProof(key.facts, key.pieces, ask);
  std::vector<std::string> taken;
  std::ranges::transform(key.pieces, std::back_inserter(taken), WithProvenNames);
  const bool is_known = std::ranges::any_of(held.public_halves, HasProvenNames) ||
                        std::ranges::any_of(held.secret_halves, HasProvenNames);
  if (!std::ranges::all_of(taken, &std::string::empty)) {
    std::erase_if(held.public_halves, std::not_fn(HasProvenNames));
  }
  for (std::size_t i = 0; i < taken.size(); ++i) {
    if (taken[i].empty()) taken[i] = is_known ? WithoutNames(key.pieces[i]) : key.pieces[i];
  }
  auto pieces = std::move(held.secret_halves);
  pieces.insert(pieces.end(), held.public_halves.begin(), held.public_halves.end());
  pieces.insert(is_newer_secret ? pieces.begin() : pieces.end(), taken.begin(), taken.end());
  Ffi merged = MakeFfi();
  LoadPieces(merged.get(), key.facts.fingerprint, pieces);
  return merged;
}

}  // namespace

MergedKeys MergedWithRings(const KeyRings& rings, std::string_view data, const AskPassphrase& ask) {
  auto found = KeysIn(rings, data);
  MergedKeys merged{{}, found.left_out};
  for (auto& key : found.keys) {
    merged.keys.push_back({key.facts.fingerprint, Merged(rings, key, ask)});
  }
  return merged;
}

std::string WithoutNewNames(std::string_view looked_up, std::string_view held) {
  std::set<std::string_view> names;
  for (const auto& part : SplitKey(held)) {
    if (part.kind == KeyPart::Kind::kUserId) names.insert(FirstBody(part.bytes));
  }
  std::string kept;
  for (const auto& part : SplitKey(looked_up)) {
    if (part.kind == KeyPart::Kind::kUserId &&
        (!names.contains(FirstBody(part.bytes)) || !IsProven(FirstPacket(looked_up), part))) {
      continue;
    }
    kept += part.bytes;
  }
  return kept;
}

namespace {

/// The part of a held key is among those of the public key that is to take its place. A secret key
/// packet begins with the public one.
bool IsKept(const KeyPart& part, const std::vector<KeyPart>& public_parts) {
  const auto body = FirstBody(part.bytes);
  return std::ranges::any_of(public_parts, [&](const KeyPart& other) {
    const auto other_body = FirstBody(other.bytes);
    return part.kind == other.kind &&
           (part.kind == KeyPart::Kind::kUserId ? body == other_body
                                                : body.starts_with(other_body));
  });
}

}  // namespace

void RefuseLosses(const KeyRings& rings, const std::vector<KeyRings::NewKey>& keys) {
  for (const auto& key : keys) {
    if (key.secret) continue;
    const auto public_parts = SplitKey(key.data);
    for (const auto* entry : rings.FindByFingerprint(key.facts.fingerprint)) {
      const std::string held = rings.Read(*entry);
      for (const auto& part : SplitKey(held)) {
        const bool is_name = part.kind == KeyPart::Kind::kUserId;
        if (IsKept(part, public_parts) || (is_name && !IsProven(FirstPacket(held), part))) continue;
        Fail(kKeyStoreTrouble, "The key " + key.facts.fingerprint +
                                   " holds parts that are unknown here and would be lost; nothing "
                                   "was taken.");
      }
    }
  }
}

std::string ClaimedKey(const KeyRings& rings, const KeyFacts& facts) {
  for (std::size_t i = 1; i < facts.key_ids.size(); ++i) {
    if (IsAnothers(rings, facts.fingerprint, facts.key_ids[i])) return facts.key_ids[i];
  }
  return {};
}

bool IsContested(const KeyRings& rings, const RingEntry& entry) {
  auto rest = entry.key_ids;
  while (rest.find(',') != std::string_view::npos) {
    rest.remove_prefix(rest.find(',') + 1);
    if (IsAnothers(rings, entry.fingerprint, rest.substr(0, rest.find(',')))) return true;
  }
  return false;
}

std::string WithoutClaims(const KeyRings& rings, const RingEntry& entry,
                          const std::string& public_key) {
  if (!IsContested(rings, entry)) return public_key;
  std::string kept;
  for (const auto& part : SplitKey(public_key)) {
    if (part.kind != KeyPart::Kind::kSubkey || !IsClaim(rings, FirstPacket(public_key), part)) {
      kept += part.bytes;
    }
  }
  return kept;
}

std::string KindTrouble(const LeftOut& left_out) {
  std::string text;
  for (const auto& kind : left_out.kinds) {
    if (!text.empty()) text += ' ';
    text += "Keys of " + kind + " are not supported.";
  }
  return text;
}

}  // namespace corvessa::engine
