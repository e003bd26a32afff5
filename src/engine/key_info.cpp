#include "engine/key_info.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <ctime>
#include <limits>
#include <vector>

#include "base/text.h"
#include "engine/key_facts.h"

namespace corvessa::engine {
namespace {

constexpr char kSeparator = '\t';
constexpr char kSecret = 's';
constexpr char kOpen = 'o';
constexpr char kRevoked = 'r';
constexpr char kUnnamed = 'n';

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

bool HasOpenSecretPart(const std::vector<Key>& keys) {
  return std::ranges::any_of(keys, [](const Key& key) {
    return Get<bool>(rnp_key_have_secret, key.get()) && !Get<bool>(rnp_key_is_protected, key.get());
  });
}

std::int64_t Now() {
  return std::time(nullptr);
}

/// The last second at which mail can be encrypted to the key; 0 for never.
std::int64_t EncryptsUntil(rnp_ffi_t ffi, rnp_key_handle_t primary) {
  constexpr std::uint64_t kForever = std::numeric_limits<std::int64_t>::max();
  std::uint64_t latest = 0;
  for (const auto& key : AllUsableFor(ffi, primary, "encrypt")) {
    latest = std::max(latest, std::min(Get<std::uint64_t>(rnp_key_valid_till64, primary),
                                       Get<std::uint64_t>(rnp_key_valid_till64, key.get())));
  }
  return static_cast<std::int64_t>(std::min(latest, kForever));
}

/// Neither holds a separator or a line's end afterwards.
std::string Escaped(std::string_view text) {
  return Replace(Replace(Replace(text, "\\", "\\\\"), "\t", "\\t"), "\n", "\\n");
}

std::string Unescaped(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool is_escape = text[i] == '\\' && i + 1 < text.size();
    const char c = is_escape ? text[++i] : text[i];
    plain += !is_escape ? c : c == 't' ? '\t' : c == 'n' ? '\n' : c;
  }
  return plain;
}

/// Takes a field off the front.
std::string_view Take(std::string_view& text) {
  const auto end = std::min(text.find(kSeparator), text.size());
  const auto field = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return field;
}

std::int64_t TakeNumber(std::string_view& text) {
  const auto field = Take(text);
  std::int64_t number = 0;
  std::from_chars(field.data(), field.data() + field.size(), number);
  return number;
}

}  // namespace

KeyInfo InfoOf(rnp_ffi_t ffi, rnp_key_handle_t primary) {
  const auto keys = WithSubkeys(ffi, primary);
  const auto facts = FactsOf(primary);
  const auto lifetime = Get<std::uint32_t>(rnp_key_get_expiration, primary);
  KeyInfo info;
  info.fingerprint = facts.fingerprint;
  info.user_ids = UserIdsOf(primary);
  info.addresses = facts.addresses;
  info.algorithm = AlgorithmOf(primary);
  info.created = Get<std::uint32_t>(rnp_key_get_creation, primary);
  info.expires = lifetime == 0 ? 0 : info.created + lifetime;
  info.secret = std::ranges::any_of(
      keys, [](const Key& key) { return Get<bool>(rnp_key_have_secret, key.get()); });
  info.open = HasOpenSecretPart(keys);
  info.revoked = Get<bool>(rnp_key_is_revoked, primary);
  info.expired = Get<bool>(rnp_key_is_expired, primary);
  info.unnamed = !HasValidUserId(primary);
  info.encrypts = UsableFor(ffi, primary, "encrypt") != nullptr;
  return info;
}

std::string FormatInfo(rnp_ffi_t ffi, rnp_key_handle_t primary, bool secret) {
  const auto keys = WithSubkeys(ffi, primary);
  if (std::ranges::any_of(keys, [](const Key& key) {
        return Get<std::uint32_t>(rnp_key_get_creation, key.get()) > Now();
      })) {
    return {};
  }
  const auto info = InfoOf(ffi, primary);
  std::string flags;
  if (secret && info.secret) flags += kSecret;
  if (secret && info.open) flags += kOpen;
  if (info.revoked) flags += kRevoked;
  if (info.unnamed) flags += kUnnamed;
  std::string text;
  for (const auto number : {info.created, info.expires, EncryptsUntil(ffi, primary)}) {
    text += std::to_string(number) + kSeparator;
  }
  text += flags + kSeparator + info.algorithm;
  for (const auto& user_id : info.user_ids) text += kSeparator + Escaped(user_id);
  return text;
}

std::optional<KeyInfo> ReadInfo(const RingEntry& entry) {
  std::string_view text = entry.info;
  if (text.empty()) return std::nullopt;
  KeyInfo info;
  info.fingerprint = entry.fingerprint;
  if (!entry.addresses.empty()) info.addresses = Split(entry.addresses, ",");
  info.created = TakeNumber(text);
  info.expires = TakeNumber(text);
  info.encrypts = Now() < TakeNumber(text);
  info.expired = info.expires != 0 && info.expires <= Now();
  const auto flags = Take(text);
  info.secret = flags.find(kSecret) != std::string_view::npos;
  info.open = flags.find(kOpen) != std::string_view::npos;
  info.revoked = flags.find(kRevoked) != std::string_view::npos;
  info.unnamed = flags.find(kUnnamed) != std::string_view::npos;
  info.algorithm = Take(text);
  while (!text.empty()) info.user_ids.push_back(Unescaped(Take(text)));
  return info;
}

void AddHalf(const KeyInfo& half, KeyInfo& info) {
  info.secret = info.secret || half.secret;
  info.open = info.open || half.open;
  info.revoked = info.revoked || half.revoked;
  info.encrypts = info.encrypts && !info.revoked;
}

}  // namespace corvessa::engine
