#include <algorithm>
#include <map>
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
  Fail(kBadContent, "The encrypted message is damaged.");
}

void RequireProtection(rnp_op_verify_t op) {
  bool valid = false;
  Check(rnp_op_verify_get_protection_info(op, nullptr, nullptr, &valid));
  if (!valid) {
    Fail(kBadContent, "The encrypted message carries no valid integrity protection.");
  }
}

Outcome TryKeys(KeyStore& keys, const EncryptedMessage& message, std::string_view start,
                const PlainOutput& output) {
  output.restart();
  const auto source = message.open(start);
  const Stream stream(*source, output.sink);
  const auto op =
      Create<VerifyOp>(rnp_op_verify_create, keys.ffi(), stream.input(), stream.output());
  // Signatures inside are not this operation's business; the plain text is.
  Check(rnp_op_verify_set_flags(op.get(), RNP_VERIFY_IGNORE_SIGS_ON_DECRYPT));
  const auto result = rnp_op_verify_execute(op.get());
  stream.Rethrow();
  if (result == RNP_ERROR_NO_SUITABLE_KEY || result == RNP_ERROR_DECRYPT_FAILED) {
    return Outcome::kWrongKey;
  }
  if (result != RNP_SUCCESS) FailDamaged();
  RequireProtection(op.get());
  stream.Finish(result);
  return Outcome::kDone;
}

/// The key IDs that the message names, each once.
std::set<std::string> NamedIn(const EncryptedMessage& message, const EncryptedMessageStart& start) {
  std::set<std::string> named;
  for (const auto& packet : start.session_keys) named.insert(KeyIdOf(message.start, packet));
  return named;
}

/// Refuses a message that would keep the library trying for minutes.
void RequireFewTries(const KeyStore& keys, const EncryptedMessage& message,
                     const EncryptedMessageStart& start, const std::vector<UnlockedKey>& unlocked) {
  std::map<std::string, std::size_t> named;
  std::size_t hidden = 0;
  for (const auto& packet : start.session_keys) {
    if (IsHidden(message.start, packet)) {
      hidden += static_cast<std::size_t>(
          std::ranges::count(unlocked, packet.algorithm, &UnlockedKey::algorithm));
    } else {
      ++named[KeyIdOf(message.start, packet)];
    }
  }
  const bool too_often = std::ranges::any_of(named, [&](const auto& key) {
    return key.second > kMaxNamed &&
           (keys.IsOpen(key.first) ||
            std::ranges::count(unlocked, key.first, &UnlockedKey::key_id));
  });
  if (too_often) Fail(kBadContent, "The message is encrypted to the same key again and again.");
  if (hidden > kMaxHidden) {
    Fail(kBadContent, "The message hides too many recipients to try the keys on all of them.");
  }
}

[[noreturn]] void FailForKey(KeyStore& keys, const EncryptedMessage& message,
                             const EncryptedMessageStart& start) {
  keys.ExpectUseOf(NamedIn(message, start));
  for (const auto& packet : start.session_keys) {
    for (const auto* entry : keys.rings().FindByKeyId(KeyIdOf(message.start, packet))) {
      if (!entry->secret || entry->addresses.empty()) continue;
      const std::string address(entry->addresses.substr(0, entry->addresses.find(',')));
      Fail(kNoKey, "The message is encrypted for " + address + ", whose key is locked.");
    }
  }
  Fail(kNoKey, "The message is not encrypted for any of the unlocked keys.");
}

/// Those of the keys that the message names: the open ones first, because one is enough as a rule.
std::vector<UnlockedKey> Named(const KeyStore& keys, const std::set<std::string>& names,
                               std::vector<UnlockedKey> unlocked) {
  std::erase_if(unlocked, [&](const UnlockedKey& key) { return !names.contains(key.key_id); });
  std::ranges::stable_partition(unlocked,
                                [&](const UnlockedKey& key) { return keys.IsOpen(key.key_id); });
  return unlocked;
}

}  // namespace

void Decrypt(KeyStore& keys, std::string_view address, const EncryptedMessage& message,
             const PlainOutput& output) {
  const auto start = ReadEncryptedMessageStart(message.start);
  if (!start) Fail(kBadContent, "The OpenPGP message is damaged or not encrypted.");
  const auto unlocked = UnlockedKeys(keys, address);
  RequireFewTries(keys, message, *start, unlocked);
  const std::string original(message.start.substr(0, start->length));
  bool tried = false;
  for (const auto& key : Named(keys, NamedIn(message, *start), unlocked)) {
    // The library tries all open keys at once.
    if ((tried && keys.IsOpen(key.key_id)) || !keys.Open(key.primary, key.key_id)) continue;
    tried = true;
    if (TryKeys(keys, message, original, output) == Outcome::kDone) return;
  }
  for (const auto& key : unlocked) {
    std::string revealed = original;
    if (!RevealRecipients(revealed, *start, key.algorithm, key.key_id)) continue;
    if (!keys.Open(key.primary, key.key_id)) continue;
    if (TryKeys(keys, message, revealed, output) == Outcome::kDone) return;
  }
  if (tried) FailDamaged();
  FailForKey(keys, message, *start);
}

}  // namespace corvessa::engine
