#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "engine/key_facts.h"
#include "engine/operations.h"
#include "engine/packets.h"
#include "engine/status.h"

namespace corvessa::engine {
namespace {

enum class Outcome { kDone, kWrongKey };

constexpr int kRsa = 1;
constexpr int kElGamal = 16;
constexpr int kEcdh = 18;

// Each try with an RSA key costs some 20 ms, and a message may name a key as often as it likes.
constexpr std::size_t kMaxNamed = 16;
constexpr std::size_t kMaxHidden = 500;

/// The algorithm number of a key that can decrypt; 0 for others.
int EncryptionAlgorithm(rnp_key_handle_t key) {
  static const std::map<std::string, int> kNumbers = {
      {"RSA", kRsa}, {"ELGAMAL", kElGamal}, {"ECDH", kEcdh}};
  const auto found = kNumbers.find(Text(rnp_key_get_alg, key));
  return found == kNumbers.end() ? 0 : found->second;
}

struct UnlockedKey {
  std::string primary;  ///< its fingerprint
  std::string key_id;
  int algorithm = 0;
};

/// The keys and subkeys that the unlocked keys decrypt with, open or not yet.
std::vector<UnlockedKey> UnlockedKeys(const KeyStore& keys, std::string_view address) {
  std::vector<UnlockedKey> unlocked;
  for (const auto& fingerprint : keys.Unlocked(address)) {
    const auto primary = FindKey(keys.ffi(), fingerprint);
    for (const auto& key : WithSubkeys(keys.ffi(), primary.get())) {
      const int algorithm = EncryptionAlgorithm(key.get());
      if (algorithm == 0 || !Get<bool>(rnp_key_have_secret, key.get())) continue;
      unlocked.push_back({fingerprint, Text(rnp_key_get_keyid, key.get()), algorithm});
    }
  }
  return unlocked;
}

[[noreturn]] void FailDamaged() {
  Fail(kBadContent, "The encrypted message is damaged.", {trouble::kDamaged, {}, {}});
}

void RequireProtection(rnp_op_verify_t op) {
  bool valid = false;
  Check(rnp_op_verify_get_protection_info(op, nullptr, nullptr, &valid));
  if (!valid) {
    Fail(kBadContent, "The encrypted message carries no valid integrity protection.",
         {trouble::kNoProtection, {}, {}});
  }
}

/// A message on its way through the library.
struct Attempted {
  KeyStore& keys;
  const FindSigner& find_signer;
  const EncryptedMessage& message;
  std::size_t start_length;
  const PlainOutput& output;
  std::optional<InnerSignatures> signatures = {};
};

/// Gives the library the passphrase of a message; null for none.
bool GivePassphrase(rnp_ffi_t, void* passphrase, rnp_key_handle_t key, const char*, char* buffer,
                    std::size_t size) {
  const auto* const given = static_cast<const SecretString*>(passphrase);
  if (!given || key || given->View().size() >= size) return false;
  given->View().copy(buffer, size);
  buffer[given->View().size()] = '\0';
  return true;
}

Outcome Try(Attempted& attempted, std::string_view start,
            const SecretString* passphrase = nullptr) {
  attempted.output.restart();
  const auto source = attempted.message.open(start, attempted.start_length);
  const Stream stream(*source, attempted.output.sink);
  const rnp_ffi_t ffi = attempted.keys.ffi();
  const KeyProvider provider(attempted.keys, attempted.find_signer);
  const auto op = Create<VerifyOp>(rnp_op_verify_create, ffi, stream.input(), stream.output());
  Check(rnp_ffi_set_pass_provider(ffi, &GivePassphrase, const_cast<SecretString*>(passphrase)));
  // Whatever becomes of the signatures inside, the text is wanted.
  Check(rnp_op_verify_set_flags(op.get(), RNP_VERIFY_IGNORE_SIGS_ON_DECRYPT));
  const auto result = rnp_op_verify_execute(op.get());
  Check(rnp_ffi_set_pass_provider(ffi, nullptr, nullptr));
  stream.Rethrow();
  if (result == RNP_ERROR_NO_SUITABLE_KEY || result == RNP_ERROR_DECRYPT_FAILED ||
      result == RNP_ERROR_BAD_PASSWORD) {
    return Outcome::kWrongKey;
  }
  if (result != RNP_SUCCESS) FailDamaged();
  RequireProtection(op.get());
  stream.Finish(result);
  attempted.signatures = InnerSignaturesOf(attempted.keys, op.get());
  return Outcome::kDone;
}

/// The key IDs that the message names, each once.
std::set<std::string> NamedIn(const EncryptedMessageStart& start) {
  std::set<std::string> named;
  for (const auto& packet : start.session_keys) named.insert(KeyIdOf(start.known, packet));
  return named;
}

/// Refuses a message that would keep the library trying for minutes.
void RequireFewTries(const KeyStore& keys, const EncryptedMessageStart& start,
                     const std::vector<UnlockedKey>& unlocked) {
  std::map<std::string, std::size_t> named;
  std::size_t hidden = 0;
  for (const auto& packet : start.session_keys) {
    if (IsHidden(start.known, packet)) {
      hidden += static_cast<std::size_t>(
          std::ranges::count(unlocked, packet.algorithm, &UnlockedKey::algorithm));
    } else {
      ++named[KeyIdOf(start.known, packet)];
    }
  }
  const bool too_often = std::ranges::any_of(named, [&](const auto& key) {
    return key.second > kMaxNamed &&
           (keys.IsOpen(key.first) ||
            std::ranges::count(unlocked, key.first, &UnlockedKey::key_id));
  });
  if (start.passphrase_packets > kMaxNamed) {
    Fail(kBadContent, "The message is encrypted with too many passphrases to try one on them.");
  }
  if (too_often) Fail(kBadContent, "The message is encrypted to the same key again and again.");
  if (hidden > kMaxHidden) {
    Fail(kBadContent, "The message hides too many recipients to try the keys on all of them.");
  }
}

/// One of the addresses of a key of the rings; empty for none.
std::string AddressIn(const RingEntry& entry) {
  return std::string(entry.addresses.substr(0, entry.addresses.find(',')));
}

/// A key as the user knows it.
std::string Described(KeyStore& keys, const std::string& key_id) {
  for (const auto* entry : keys.rings().FindByKeyId(key_id)) {
    const auto address = AddressIn(*entry);
    if (!address.empty()) return address + " (" + key_id + ")";
  }
  return key_id;
}

[[noreturn]] void FailForOtherKeys(KeyStore& keys, std::vector<std::string> key_ids) {
  constexpr std::size_t kMostTold = 5;
  std::string text = "The message is encrypted to ";
  text += key_ids.size() == 1 ? "another key: " : "other keys: ";
  for (std::size_t i = 0; i < std::min(key_ids.size(), kMostTold); ++i) {
    if (i > 0) text += ", ";
    text += Described(keys, key_ids[i]);
  }
  if (key_ids.size() > kMostTold) text += "…";
  Fail(kNoKey, text + ".", {trouble::kOtherKey, std::move(key_ids), {}});
}

[[noreturn]] void FailUnknownMethod(const EncryptedMessageStart& start) {
  Fail(kUnknownMethod, "The message is encrypted in a way that is not supported.",
       {trouble::kUnknownMethod, start.unknown_key_ids, {}});
}

[[noreturn]] void FailForKey(KeyStore& keys, const EncryptedMessageStart& start) {
  const auto named = NamedIn(start);
  keys.ExpectUseOf(named);
  std::vector<std::string> others;
  bool is_hidden = false;
  for (const auto& packet : start.session_keys) {
    const auto key_id = KeyIdOf(start.known, packet);
    for (const auto* entry : keys.rings().FindByKeyId(key_id)) {
      if (!entry->secret || entry->addresses.empty()) continue;
      const std::string address = AddressIn(*entry);
      Fail(kNoKey, "The message is encrypted for " + address + ", whose key is locked.",
           {trouble::kKeyLocked, {key_id}, address});
    }
    is_hidden = is_hidden || IsHidden(start.known, packet);
    if (!IsHidden(start.known, packet) && !std::ranges::count(others, key_id)) {
      others.push_back(key_id);
    }
  }
  if (start.passphrase_packets > 0) {
    Fail(kNoKey, "The message is encrypted with a passphrase.",
         {trouble::kPassphraseNeeded, std::move(others), {}});
  }
  if (others.empty() && !is_hidden) FailUnknownMethod(start);
  if (!others.empty() && !is_hidden) FailForOtherKeys(keys, std::move(others));
  Fail(kNoKey, "The message is not encrypted for any of the unlocked keys.");
}

/// Those of the keys that the message names: the open ones first, because one is enough as a rule.
std::vector<UnlockedKey> Named(const KeyStore& keys, const std::set<std::string>& names,
                               std::vector<UnlockedKey> unlocked) {
  std::erase_if(unlocked, [&](const UnlockedKey& key) { return !names.contains(key.key_id); });
  // Not that of std::ranges: Debian's clang, which builds the fuzz targets, cannot compile it.
  std::stable_partition(unlocked.begin(), unlocked.end(),
                        [&](const UnlockedKey& key) { return keys.IsOpen(key.key_id); });
  return unlocked;
}

}  // namespace

std::optional<InnerSignatures> Decrypt(KeyStore& keys, const Openers& openers,
                                       const EncryptedMessage& message, const PlainOutput& output) {
  const auto start = ReadEncryptedMessageStart(message.start);
  if (!start) {
    Fail(kBadContent, "The OpenPGP message is damaged or not encrypted.",
         {trouble::kDamaged, {}, {}});
  }
  if (start->has_unknown_data) FailUnknownMethod(*start);
  const auto unlocked = UnlockedKeys(keys, openers.address);
  RequireFewTries(keys, *start, unlocked);
  Attempted attempted{keys, openers.find_signer, message, start->length, output};
  bool tried = false;
  for (const auto& key : Named(keys, NamedIn(*start), unlocked)) {
    // The library tries all open keys at once.
    if ((tried && keys.IsOpen(key.key_id)) || !keys.Open(key.primary, key.key_id)) continue;
    tried = true;
    if (Try(attempted, start->known) == Outcome::kDone) return std::move(attempted.signatures);
  }
  for (const auto& key : unlocked) {
    std::string revealed = start->known;
    if (!RevealRecipients(revealed, *start, key.algorithm, key.key_id)) continue;
    if (!keys.Open(key.primary, key.key_id)) continue;
    if (Try(attempted, revealed) == Outcome::kDone) return std::move(attempted.signatures);
  }
  if (start->passphrase_packets > 0) {
    for (const auto& passphrase : openers.passphrases) {
      const auto outcome = Try(attempted, start->known, &passphrase);
      if (outcome == Outcome::kDone) return std::move(attempted.signatures);
    }
    if (!openers.passphrases.empty() && !tried) {
      Fail(kWrongPassphrase, "The passphrase does not open the message.",
           {trouble::kPassphraseNeeded, {}, {}});
    }
  }
  if (tried) FailDamaged();
  FailForKey(keys, *start);
}

InnerSignatures ReadSignedMessage(KeyStore& keys, const FindSigner& find_signer, Source& message,
                                  Sink& output) {
  const Stream stream(message, output);
  const KeyProvider provider(keys, find_signer);
  const auto op =
      Create<VerifyOp>(rnp_op_verify_create, keys.ffi(), stream.input(), stream.output());
  const auto result = rnp_op_verify_execute(op.get());
  stream.Rethrow();
  auto signatures = InnerSignaturesOf(keys, op.get());
  if (!signatures) Fail(kBadFormat, "The message is not signed.");
  // The outcome of a check is no trouble of reading.
  if (result != RNP_SUCCESS && result != RNP_ERROR_SIGNATURE_INVALID &&
      result != RNP_ERROR_SIGNATURE_EXPIRED && result != RNP_ERROR_KEY_NOT_FOUND) {
    Fail(kBadContent, "The signed message is damaged.", {trouble::kDamaged, {}, {}});
  }
  stream.Finish(RNP_SUCCESS);
  return *std::move(signatures);
}

}  // namespace corvessa::engine
