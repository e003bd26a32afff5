#include "engine/verification.h"

#include <algorithm>

#include "engine/key_facts.h"
#include "engine/packets.h"

namespace corvessa::engine {
namespace {

enum class Kind { kGood, kBad, kUnknown, kInvalidKey, kOther };

struct Finding {
  Kind kind = Kind::kOther;
  std::string signer;  ///< address, or key ID when the key is unknown
  std::string message;
  const char* reason = "";
  std::string key_id = {};
};

bool IsForDocuments(rnp_signature_handle_t signature, bool text_only) {
  const std::string type = Text(rnp_signature_get_type, signature);
  return type == "text" || (!text_only && type == "binary");
}

/// An address that somebody else's key claims; empty when there is none. Nobody else speaks for an
/// own address, and no key server for one whose key the user has.
std::string ClaimedAddress(const KeyStore& keys, rnp_key_handle_t primary) {
  const std::string fingerprint = Text(rnp_key_get_fprint, primary);
  if (keys.IsOwn(fingerprint)) return {};
  const bool is_from_server = keys.IsOnlyLookedUp(fingerprint);
  const auto addresses = ValidAddresses(primary);
  const auto claimed = std::ranges::find_if(addresses, [&](const std::string& address) {
    return keys.HasSecret(address) || (is_from_server && keys.IsInRings(address));
  });
  return claimed == addresses.end() ? std::string() : *claimed;
}

Finding NoUsableKey(const std::string& address) {
  return {Kind::kInvalidKey, address,
          "The key of " + address +
              " is not usable: it is expired, revoked, without a valid name or not for signing.",
          trouble::kUnusableSigner};
}

// The library calls every signature of a revoked key invalid, whether it fits the content or not.
bool IsRevoked(rnp_key_handle_t key, rnp_key_handle_t primary) {
  return Get<bool>(rnp_key_is_revoked, primary) || Get<bool>(rnp_key_is_revoked, key);
}

/// The signature's hash when the library no longer trusts it, as SHA-1; "" for others. It calls
/// such a signature invalid without looking at what was signed.
std::string OutdatedHash(rnp_ffi_t ffi, rnp_signature_handle_t signature, std::uint32_t use) {
  std::string hash = Text(rnp_signature_get_hash_alg, signature);
  const auto made = Get<std::uint32_t>(rnp_signature_get_creation, signature);
  std::uint32_t level = RNP_SECURITY_DEFAULT;
  Check(
      rnp_get_security_rule(ffi, RNP_FEATURE_HASH_ALG, hash.c_str(), made, &use, nullptr, &level));
  return level < RNP_SECURITY_DEFAULT ? hash : std::string();
}

/// The outdated hash that a name of the key is certified with; "" when there is none.
std::string OutdatedCertification(rnp_ffi_t ffi, rnp_key_handle_t primary) {
  const auto names = Get<std::size_t>(rnp_key_get_uid_count, primary);
  for (std::size_t i = 0; i < names; ++i) {
    const auto name = Make<UserId>(rnp_key_get_uid_handle_at, primary, i);
    const auto count = Get<std::size_t>(rnp_uid_get_signature_count, name.get());
    for (std::size_t j = 0; j < count; ++j) {
      const auto signature = Make<Signature>(rnp_uid_get_signature_at, name.get(), j);
      auto hash = OutdatedHash(ffi, signature.get(), RNP_SECURITY_VERIFY_KEY);
      if (!hash.empty()) return hash;
    }
  }
  return {};
}

/// The reason why the library calls a signature invalid that may well fit the content; nothing when
/// it does not fit.
std::optional<Finding> UncheckedFinding(rnp_ffi_t ffi, rnp_signature_handle_t signature,
                                        rnp_key_handle_t key, rnp_key_handle_t primary,
                                        const std::string& address) {
  const auto outdated = [&](const char* what, const std::string& hash) {
    return Finding{Kind::kOther, address,
                   what + address + " uses " + hash + ", which is no longer secure.",
                   trouble::kOutdatedMethod};
  };
  const auto hash = OutdatedHash(ffi, signature, RNP_SECURITY_VERIFY_DATA);
  if (!hash.empty()) return outdated("The signature of ", hash);
  if (IsRevoked(key, primary)) return NoUsableKey(address);
  if (Get<bool>(rnp_key_is_valid, primary)) return std::nullopt;
  const auto certified = OutdatedCertification(ffi, primary);
  if (!certified.empty()) return outdated("The key of ", certified);
  // Of an expired key the library still checks what was signed in its time.
  if (Get<bool>(rnp_key_is_expired, primary)) return std::nullopt;
  return NoUsableKey(address);
}

/// The key that the library checks a signature with: the one of the fingerprint in it, and only
/// without that the one of the key ID. Empty when there is no such key.
Key SigningKeyOf(const KeyStore& keys, rnp_signature_handle_t signature,
                 const std::string& key_id) {
  const std::string fingerprint = Text(rnp_signature_get_key_fprint, signature);
  if (!fingerprint.empty()) return FindKey(keys.ffi(), fingerprint);
  return Make<Key>(rnp_locate_key, keys.ffi(), "keyid", key_id.c_str());
}

Finding JudgeGood(const KeyStore& keys, rnp_key_handle_t key, rnp_key_handle_t primary,
                  const std::string& address) {
  if (!HasValidUserId(primary) || !IsUsable(primary) || !IsUsable(key) || !MaySign(key)) {
    return NoUsableKey(address);
  }
  const std::string claimed = ClaimedAddress(keys, primary);
  if (!claimed.empty()) {
    return {Kind::kInvalidKey, address,
            "The key that signed is not the key in your rings for " + claimed + "."};
  }
  return {Kind::kGood, address, {}};
}

/// The user ID that the signature itself says it is by; empty when it says nothing. The library
/// tells it in JSON only, in which no text holds a quotation mark without a backslash.
std::string NamedSigner(rnp_signature_handle_t signature) {
  char* packet = nullptr;
  if (rnp_signature_packet_to_json(signature, 0, &packet) != RNP_SUCCESS) return {};
  const std::string json = packet;
  rnp_buffer_destroy(packet);
  const auto named = json.find("\"type\":28,");
  if (named == std::string::npos) return {};
  const std::string part = json.substr(named, json.find('}', named) - named);
  static constexpr std::string_view kUser = "\"uid\":\"";
  const auto user = part.find(kUser);
  if (user == std::string::npos || part.find("\"hashed\":true") > user) return {};
  return part.substr(user + kUser.size(), part.rfind('"') - user - kUser.size());
}

/// One of the key's addresses, preferably the one that the signature names. Never the text of a
/// user ID: it can say anything, also somebody else's address.
std::string SignerOf(rnp_key_handle_t primary, rnp_signature_handle_t signature,
                     const std::string& key_id) {
  const auto addresses = ValidAddresses(primary);
  if (addresses.size() > 1) {
    const auto named = std::ranges::find(addresses, AddressOf(NamedSigner(signature)));
    if (named != addresses.end()) return *named;
  }
  return addresses.empty() ? key_id : addresses.front();
}

Finding JudgeChecked(const KeyStore& keys, rnp_op_verify_signature_t signature,
                     rnp_signature_handle_t handle, const std::string& key_id, bool text_only) {
  const auto key = SigningKeyOf(keys, handle, key_id);
  const auto primary = key ? keys.PrimaryOf(key.get()) : Key();
  const auto status = rnp_op_verify_signature_get_status(signature);
  if (status == RNP_ERROR_KEY_NOT_FOUND || !primary) {
    return {Kind::kUnknown, key_id, "The signer's key " + key_id + " was not found.",
            trouble::kUnknownSigner};
  }
  // Nothing protects the key ID in a signature: anybody can write somebody else's into it.
  if (!key_id.empty() && Text(rnp_key_get_keyid, key.get()) != key_id) {
    return {Kind::kBad, key_id, "The signature names another key than the one that made it.",
            trouble::kBadSignature};
  }
  const std::string address = SignerOf(primary.get(), handle, key_id);
  const Finding unknown_kind{Kind::kOther, address,
                             "The signature of " + address + " is of an unknown kind.",
                             trouble::kUnknownMethod};
  // It is over the bytes inside a message, of which its text says nothing.
  if (text_only && Text(rnp_signature_get_type, handle) == "binary") return unknown_kind;
  if (status == RNP_ERROR_SIGNATURE_INVALID) {
    auto unchecked = UncheckedFinding(keys.ffi(), handle, key.get(), primary.get(), address);
    if (unchecked) return *std::move(unchecked);
    return {Kind::kBad, address, "The signature of " + address + " does not fit the content.",
            trouble::kBadSignature};
  }
  if (status == RNP_ERROR_SIGNATURE_EXPIRED) {
    return {Kind::kOther, address, "The signature of " + address + " has expired.",
            trouble::kExpiredSignature};
  }
  if (status != RNP_SUCCESS || !IsForDocuments(handle, text_only)) return unknown_kind;
  return JudgeGood(keys, key.get(), primary.get(), address);
}

Finding Judge(const KeyStore& keys, rnp_op_verify_signature_t signature, bool text_only) {
  rnp_signature_handle_t opened = nullptr;
  if (rnp_op_verify_signature_get_handle(signature, &opened) != RNP_SUCCESS) {
    return {Kind::kOther, "", "The signature is of an unknown kind.", trouble::kUnknownMethod};
  }
  const Signature handle(opened);
  const std::string key_id = Text(rnp_signature_get_keyid, handle.get());
  auto finding = JudgeChecked(keys, signature, handle.get(), key_id, text_only);
  finding.key_id = key_id;
  return finding;
}

std::vector<Finding> FindingsOf(const KeyStore& keys, rnp_op_verify_t op, bool text_only) {
  std::vector<Finding> findings;
  const auto count = Get<std::size_t>(rnp_op_verify_get_signature_count, op);
  for (std::size_t i = 0; i < count; ++i) {
    findings.push_back(Judge(
        keys, Get<rnp_op_verify_signature_t>(rnp_op_verify_get_signature_at, op, i), text_only));
  }
  return findings;
}

const Finding* FirstOf(const std::vector<Finding>& findings, Kind kind) {
  const auto found = std::ranges::find(findings, kind, &Finding::kind);
  return found == findings.end() ? nullptr : &*found;
}

std::vector<std::string> SignersOf(const std::vector<Finding>& findings, Kind kind) {
  std::vector<std::string> signers;
  for (const auto& finding : findings) {
    if (finding.kind == kind && !std::ranges::count(signers, finding.signer)) {
      signers.push_back(finding.signer);
    }
  }
  return signers;
}

Verdict VerdictOf(const std::vector<Finding>& findings) {
  Verdict verdict{kSignatureTrouble, "No signature can be checked.", {}, {}};
  verdict.unknown_signers = SignersOf(findings, Kind::kUnknown);
  // In this order: one bad signature spoils the good ones; one good one outweighs what is unclear.
  static constexpr std::pair<Kind, EngineStatus> kOrder[] = {{Kind::kBad, kBadSignature},
                                                             {Kind::kGood, kGoodSignature},
                                                             {Kind::kInvalidKey, kInvalidKey},
                                                             {Kind::kUnknown, kNoKey},
                                                             {Kind::kOther, kSignatureTrouble}};
  for (const auto& [kind, status] : kOrder) {
    const auto* const finding = FirstOf(findings, kind);
    if (!finding) continue;
    verdict.status = status;
    verdict.message = finding->message;
    verdict.trouble.reason = finding->reason;
    if (!finding->key_id.empty()) verdict.trouble.key_ids = {finding->key_id};
    if (finding->signer != finding->key_id) verdict.trouble.address = finding->signer;
    if (kind == Kind::kBad || kind == Kind::kGood) verdict.signers = SignersOf(findings, kind);
    break;
  }
  return verdict;
}

/// The bytes of a signature; empty when the library does not give them, which it does in JSON only.
std::string PacketOf(rnp_signature_handle_t signature) {
  char* packet = nullptr;
  if (rnp_signature_packet_to_json(signature, RNP_JSON_DUMP_RAW, &packet) != RNP_SUCCESS) return {};
  std::string_view json = packet;
  std::string bytes;
  // The packet's header comes first, then its body, then what was read in them.
  for (int i = 0; i < 2; ++i) {
    static constexpr std::string_view kRaw = "\"raw\":\"";
    json.remove_prefix(std::min(json.find(kRaw), json.size() - kRaw.size()) + kRaw.size());
    bytes += KeyIdBytes(json.substr(0, json.find('"')));
  }
  rnp_buffer_destroy(packet);
  return AreSignatures(bytes) ? bytes : std::string();
}

}  // namespace

KeyProvider::KeyProvider(KeyStore& keys, const FindSigner& find_signer)
    : keys_(keys), find_signer_(find_signer) {
  Check(rnp_ffi_set_key_provider(keys.ffi(), &KeyProvider::Provide, this));
}

KeyProvider::~KeyProvider() {
  rnp_ffi_set_key_provider(keys_.ffi(), nullptr, nullptr);
}

void KeyProvider::Rethrow() const {
  if (thrown_) std::rethrow_exception(thrown_);
}

void KeyProvider::Provide(rnp_ffi_t, void* self, const char* kind, const char* identifier,
                          bool secret) {
  auto& provider = *static_cast<KeyProvider*>(self);
  if (secret || provider.thrown_) return;
  try {
    std::string id(identifier);
    std::ranges::transform(id, id.begin(), [](char c) {
      return c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c;
    });
    if (std::string_view(kind) == "fingerprint" && id.size() > 16) id = id.substr(id.size() - 16);
    if (!provider.keys_.LoadByKeyId(id)) provider.find_signer_(id);
  } catch (...) {
    provider.thrown_ = std::current_exception();
  }
}

Verdict Verify(KeyStore& keys, const FindSigner& find_signer, Source& content,
               std::string_view signature, bool text_only) {
  TextSource signature_source(signature);
  const InputStream content_stream(content);
  const InputStream signature_stream(signature_source);
  const KeyProvider provider(keys, find_signer);
  const auto op = Create<VerifyOp>(rnp_op_verify_detached_create, keys.ffi(),
                                   content_stream.input(), signature_stream.input());
  // The library's own verdict counts an expired signature as good; each one is looked at below.
  rnp_op_verify_execute(op.get());
  content_stream.Rethrow();
  provider.Rethrow();
  return VerdictOf(FindingsOf(keys, op.get(), text_only));
}

std::optional<InnerSignatures> InnerSignaturesOf(const KeyStore& keys, rnp_op_verify_t op) {
  const auto findings = FindingsOf(keys, op, false);
  if (findings.empty()) return std::nullopt;
  InnerSignatures inner{VerdictOf(findings), {}, {}};
  for (std::size_t i = 0; i < findings.size(); ++i) {
    const auto signature = Get<rnp_op_verify_signature_t>(rnp_op_verify_get_signature_at, op, i);
    rnp_signature_handle_t opened = nullptr;
    if (rnp_op_verify_signature_get_handle(signature, &opened) != RNP_SUCCESS) continue;
    const Signature handle(opened);
    if (inner.hash.empty()) inner.hash = Text(rnp_signature_get_hash_alg, handle.get());
    inner.packets += PacketOf(handle.get());
  }
  return inner;
}

}  // namespace corvessa::engine
