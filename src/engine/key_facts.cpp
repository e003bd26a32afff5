#include "engine/key_facts.h"

#include <algorithm>
#include <ctime>
#include <functional>

#include "base/address.h"
#include "engine/armour.h"
#include "engine/packets.h"
#include "engine/rnp_streams.h"

namespace corvessa::engine {
namespace {

/// Calls `visit(user ID text, is valid)` for every textual user ID of the key.
template <typename Visit>
void ForEachUserId(rnp_key_handle_t primary, Visit visit) {
  const auto count = Get<std::size_t>(rnp_key_get_uid_count, primary);
  for (std::size_t i = 0; i < count; ++i) {
    const auto uid = Make<UserId>(rnp_key_get_uid_handle_at, primary, i);
    if (Get<std::uint32_t>(rnp_uid_get_type, uid.get()) != RNP_USER_ID) continue;
    visit(Text(rnp_key_get_uid_at, primary, i), Get<bool>(rnp_uid_is_valid, uid.get()));
  }
}

std::vector<Key> Subkeys(rnp_key_handle_t primary) {
  std::vector<Key> subkeys;
  const auto count = Get<std::size_t>(rnp_key_get_subkey_count, primary);
  for (std::size_t i = 0; i < count; ++i) {
    subkeys.push_back(Make<Key>(rnp_key_get_subkey_at, primary, i));
  }
  return subkeys;
}

std::string Export(rnp_key_handle_t primary, std::uint32_t flags) {
  TextSource nothing{{}};
  TextSink sink;
  const Stream stream(nothing, sink);
  stream.Finish(rnp_key_export(primary, stream.output(), flags | RNP_KEY_EXPORT_SUBKEYS));
  return std::move(sink.text);
}

bool IsBinary(std::string_view data) {
  return !data.empty() && (static_cast<unsigned char>(data.front()) & 0x80) != 0;
}

// The library names what it imported in JSON, the primary key first.
std::string FirstFingerprint(std::string_view results) {
  static constexpr std::string_view kLabel = "\"fingerprint\":\"";
  const auto label = results.find(kLabel);
  if (label == std::string_view::npos) return {};
  const auto begin = label + kLabel.size();
  return std::string(results.substr(begin, results.find('"', begin) - begin));
}

/// Imports one transferable key; empty when the library refuses it.
Key ImportKey(rnp_ffi_t ffi, std::string_view data) {
  TextSource source(data);
  TextSink nothing;
  const Stream stream(source, nothing);
  char* results = nullptr;
  const auto imported = rnp_import_keys(
      ffi, stream.input(),
      RNP_LOAD_SAVE_PUBLIC_KEYS | RNP_LOAD_SAVE_SECRET_KEYS | RNP_LOAD_SAVE_PERMISSIVE, &results);
  const std::string fingerprint =
      imported == RNP_SUCCESS && results ? FirstFingerprint(results) : std::string();
  rnp_buffer_destroy(results);
  if (fingerprint.empty()) return {};
  auto key = FindKey(ffi, fingerprint);
  return key && Get<bool>(rnp_key_is_primary, key.get()) ? std::move(key) : Key();
}

bool IsPast(std::uint64_t time) {
  return time <= static_cast<std::uint64_t>(std::time(nullptr));
}

/// The subkeys, newest first.
std::vector<Key> NewestSubkeys(rnp_key_handle_t primary) {
  auto subkeys = Subkeys(primary);
  std::ranges::stable_sort(subkeys, std::greater(), [](const Key& key) {
    return Get<std::uint32_t>(rnp_key_get_creation, key.get());
  });
  return subkeys;
}

bool MayDo(rnp_key_handle_t key, const char* usage) {
  return Get<bool>(rnp_key_allows_usage, key, usage) && IsUsable(key);
}

}  // namespace

Key FindKey(rnp_ffi_t ffi, const std::string& fingerprint) {
  return Make<Key>(rnp_locate_key, ffi, "fingerprint", fingerprint.c_str());
}

std::vector<Key> WithSubkeys(rnp_ffi_t ffi, rnp_key_handle_t primary) {
  std::vector<Key> keys = Subkeys(primary);
  keys.push_back(
      Make<Key>(rnp_locate_key, ffi, "fingerprint", Text(rnp_key_get_fprint, primary).c_str()));
  return keys;
}

bool IsStub(rnp_key_handle_t key) {
  return Get<bool>(rnp_key_have_secret, key) &&
         Text(rnp_key_get_protection_type, key).starts_with("GPG-");
}

void ForgetStubs(rnp_ffi_t ffi, const std::string& fingerprint) {
  const auto primary = FindKey(ffi, fingerprint);
  if (!primary) return;
  for (const auto& key : WithSubkeys(ffi, primary.get())) {
    if (IsStub(key.get())) Check(rnp_key_remove(key.get(), RNP_KEY_REMOVE_SECRET));
  }
}

std::string AddressOf(std::string_view user_id) {
  std::string address = NormalAddress(user_id);
  if (address.ends_with('>')) {
    const auto open = address.rfind('<');
    if (open == std::string::npos) return {};
    address = address.substr(open + 1, address.size() - open - 2);
  }
  return IsAddress(address) ? address : std::string();
}

KeyFacts FactsOf(rnp_key_handle_t primary) {
  KeyFacts facts;
  facts.fingerprint = Text(rnp_key_get_fprint, primary);
  facts.key_ids.push_back(Text(rnp_key_get_keyid, primary));
  for (const auto& subkey : Subkeys(primary)) {
    facts.key_ids.push_back(Text(rnp_key_get_keyid, subkey.get()));
  }
  ForEachUserId(primary, [&](const std::string& user_id, bool) {
    const std::string address = AddressOf(user_id);
    if (!address.empty() && !std::ranges::count(facts.addresses, address)) {
      facts.addresses.push_back(address);
    }
  });
  return facts;
}

std::string BinaryKeys(std::string_view data) {
  if (IsBinary(data)) return WithoutIgnoredPackets(data);
  std::string keys;
  for (const auto* kind : {"PUBLIC KEY BLOCK", "PRIVATE KEY BLOCK"}) {
    auto rest = data;
    while (const auto found = FindArmour(rest, kind)) {
      keys += WithoutIgnoredPackets(Dearmour(found->block));
      rest = found->after;
    }
  }
  return keys;
}

std::vector<std::string> LoadKeys(rnp_ffi_t ffi, std::string_view data) {
  std::vector<std::string> fingerprints;
  bool damaged = false;
  const std::string ring = BinaryKeys(data);
  // One at a time, so that a key which the library refuses does not cost the others.
  for (const auto& piece : SplitKeyRing(ring, damaged)) {
    const auto bytes = std::string_view(ring).substr(piece.offset, piece.length);
    const auto key = ImportKey(ffi, WithRevocationsFirst(bytes));
    if (key) fingerprints.push_back(Text(rnp_key_get_fprint, key.get()));
  }
  return fingerprints;
}

std::string ExportPublic(rnp_key_handle_t primary) {
  return Export(primary, RNP_KEY_EXPORT_PUBLIC);
}

std::string ExportSecret(rnp_key_handle_t primary) {
  return Export(primary, RNP_KEY_EXPORT_SECRET);
}

bool CarriesAddress(rnp_key_handle_t primary, std::string_view address) {
  bool carries = false;
  ForEachUserId(primary, [&](const std::string& user_id, bool valid) {
    carries = carries || (valid && AddressOf(user_id) == address);
  });
  return carries;
}

bool IsUsable(rnp_key_handle_t key) {
  // The library settles validity when it loads a key; its end may have come since.
  return Get<bool>(rnp_key_is_valid, key) && !Get<bool>(rnp_key_is_revoked, key) &&
         !Get<bool>(rnp_key_is_expired, key) &&
         !IsPast(Get<std::uint64_t>(rnp_key_valid_till64, key));
}

bool MaySign(rnp_key_handle_t key) {
  const bool is_bound_for_anything =
      !Get<bool>(rnp_key_is_primary, key) && Get<bool>(rnp_key_allows_usage, key, "certify");
  return Get<bool>(rnp_key_allows_usage, key, "sign") && !is_bound_for_anything;
}

std::vector<Key> AllUsableFor(rnp_ffi_t ffi, rnp_key_handle_t primary, const char* usage) {
  if (!IsUsable(primary)) return {};
  auto keys = NewestSubkeys(primary);
  keys.push_back(FindKey(ffi, Text(rnp_key_get_fprint, primary)));
  std::erase_if(keys, [&](const Key& key) { return !MayDo(key.get(), usage); });
  return keys;
}

Key UsableFor(rnp_ffi_t ffi, rnp_key_handle_t primary, const char* usage) {
  auto keys = AllUsableFor(ffi, primary, usage);
  return keys.empty() ? Key() : std::move(keys.front());
}

bool HasValidUserId(rnp_key_handle_t primary) {
  bool has_valid = false;
  ForEachUserId(primary, [&](const std::string&, bool valid) { has_valid = has_valid || valid; });
  return has_valid;
}

std::vector<std::string> ValidAddresses(rnp_key_handle_t primary) {
  std::vector<std::string> addresses;
  ForEachUserId(primary, [&](const std::string& user_id, bool valid) {
    std::string address = AddressOf(user_id);
    if (valid && !address.empty() && !std::ranges::count(addresses, address)) {
      addresses.push_back(std::move(address));
    }
  });
  char* main_id = nullptr;  // a key without a valid user ID has none, which is no error here
  if (rnp_key_get_primary_uid(primary, &main_id) != RNP_SUCCESS) return addresses;
  const auto main = std::ranges::find(addresses, AddressOf(main_id));
  rnp_buffer_destroy(main_id);
  if (main != addresses.end()) std::rotate(addresses.begin(), main, main + 1);
  return addresses;
}

}  // namespace corvessa::engine
