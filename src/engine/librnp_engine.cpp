#include "engine/librnp_engine.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

#include "base/address.h"
#include "base/error.h"
#include "engine/digest.h"
#include "engine/key_facts.h"
#include "engine/operations.h"
#include "engine/packets.h"

namespace corvessa::engine {
namespace {

// Deflate can promise a thousand times what arrives; what people write stays far below this, and no
// text of a mail is longer than the last.
constexpr std::size_t kMaxTextExpansion = 64;
constexpr std::size_t kTextAlwaysAllowed = std::size_t{32} << 20;
constexpr std::size_t kMaxTextSize = std::size_t{256} << 20;

// What the add-in asks for it asks at once: the text of one message and its files.
constexpr std::size_t kTextsRemembered = 8;
constexpr std::size_t kFilesRemembered = 512;
constexpr std::size_t kPassphrasesTried = 4;

// A signature names its key freely, and a text can carry thousands of signatures.
constexpr std::size_t kMaxSignerLookUps = 8;

void RequireOneLine(std::string_view name, std::string_view value) {
  if (value.find_first_of("\r\n") == std::string_view::npos) return;
  Raise(kInvalidArgument, "The option " + std::string(name) + " takes one line.");
}

void Fill(platform::IEngineStringVector& vector, const std::vector<std::string>& items) {
  for (const auto& item : items) vector.Add(item);
}

}  // namespace

EngineStatus LibrnpEngine::Report(const Verdict& verdict, platform::IEngineStringVector& signers,
                                  platform::IEngineStringVector& unknown_signers) {
  Fill(signers, verdict.signers);
  Fill(unknown_signers, verdict.unknown_signers);
  if (verdict.status == kNoKey) keys_.FailMissing(verdict.message, verdict.trouble);
  if (verdict.status != kGoodSignature) Fail(verdict.status, verdict.message, verdict.trouble);
  return verdict.status;
}

std::shared_ptr<OpenPgpEngine> CreateOpenPgpEngine(EngineConfig config) {
  try {
    return std::make_shared<LibrnpEngine>(std::move(config));
  } catch (const EngineFailure& failure) {
    Raise(kCannotCreateComponent, failure.message);
  }
}

LibrnpEngine::LibrnpEngine(EngineConfig config)
    : config_(std::move(config)),
      keys_(config_.rings_folder),
      servers_(config_.key_server_time),
      texts_(kTextsRemembered),
      files_(kFilesRemembered) {}

void LibrnpEngine::SetOption(std::string_view name, std::string_view value) {
  RequireOneLine(name, value);
  if (name == "pgpMessageHeader") {
    message_version_ = value;
  } else if (name == "pgpSignatureHeader") {
    signature_version_ = value;
  } else if (name == "lookupKeyservers") {
    servers_.SetLookup(value);
  } else if (name == "updateKeyservers") {
    servers_.SetUpdate(value);
  } else if (name == "customerID") {
    servers_.SetCustomer(value);
  } else {
    Raise(kInvalidArgument, "The engine has no option " + std::string(name) + ".");
  }
}

void LibrnpEngine::InitEngine() {
  const QuietLibrary quiet;
  message_passphrases_.clear();
  try {
    keys_.LockAll();
  } catch (const EngineFailure& failure) {
    Raise(kInvalidArgument, "The keys cannot be locked: " + failure.message);
  }
}

std::shared_ptr<void> LibrnpEngine::WatchDecryption(std::uint64_t size) const {
  return config_.watch_decryption ? config_.watch_decryption(size) : nullptr;
}

void LibrnpEngine::RequireCaller() const {
  if (config_.may_commit && !config_.may_commit()) {
    Fail(kUnexpected, "The operation took too long.");
  }
}

void LibrnpEngine::FailToHide() {
  Fail(kUnexpected, "The recipients could not be hidden.");
}

std::string LibrnpEngine::AccountAddress(const platform::EngineAccount* account) {
  return account ? NormalAddress(account->address) : std::string();
}

EngineStatus LibrnpEngine::AuthenticateAccount(std::string_view address,
                                               std::string_view passphrase) {
  return Attempt([&] {
    keys_.Unlock(NormalAddress(address), SecretString(passphrase));
    return kDone;
  });
}

EngineStatus LibrnpEngine::SignText(std::string_view text, const platform::EngineAccount* account,
                                    std::string& signed_text) {
  return Attempt([&] {
    signed_text = ClearSign(keys_, AccountAddress(account), text, signature_version_);
    return kDone;
  });
}

std::vector<bool> LibrnpEngine::LookUpAddresses(const std::vector<std::string>& addresses) {
  std::vector<std::string> searches = addresses;
  std::vector<std::string> wanted = addresses;
  for (const auto& address : addresses) {
    // A key that has expired, say. Some servers know it by its fingerprint only.
    for (const auto* entry : keys_.rings().FindByAddress(address)) {
      if (entry->secret) continue;
      searches.push_back("0x" + std::string(entry->fingerprint));
      wanted.push_back(address);
    }
  }
  std::vector<bool> could_tell;
  auto allowance = servers_.NewAllowance();
  const auto answers = servers_.LookUp(searches, allowance);
  for (std::size_t i = 0; i < searches.size(); ++i) {
    // Key servers match words, so a key that came need not be one that was asked for.
    const auto carries = [&](rnp_key_handle_t key) { return CarriesAddress(key, wanted[i]); };
    for (const auto& data : answers[i].keys) {
      keys_.AddLookedUp(data, wanted[i], carries);
    }
    could_tell.push_back(answers[i].reached);
  }
  could_tell.resize(addresses.size());
  return could_tell;
}

FindSigner LibrnpEngine::SignerFinder() {
  return [this, allowance = std::optional<Allowance>(),
          asked = std::set<std::string>()](const std::string& key_id) mutable {
    if (asked.size() >= kMaxSignerLookUps || !asked.insert(key_id).second) return;
    // From the first question on: reading a large file may have taken long by now.
    if (!allowance) allowance = servers_.NewAllowance();
    const auto has_id = [&](rnp_key_handle_t key) {
      return std::ranges::count(FactsOf(key).key_ids, key_id) > 0;
    };
    const auto answers = servers_.LookUp({"0x" + key_id}, *allowance);
    for (const auto& data : answers.front().keys) {
      keys_.AddLookedUp(data, {}, has_id);
    }
  };
}

std::vector<Key> LibrnpEngine::UsableKeys(const std::vector<std::string>& addresses) {
  std::vector<Key> keys;
  std::vector<std::string> missing;
  for (const auto& address : addresses) {
    if (auto key = keys_.FindUsable(address, "encrypt")) {
      keys.push_back(std::move(key));
    } else {
      missing.push_back(address);
    }
  }
  const auto could_tell = LookUpAddresses(missing);
  for (std::size_t i = 0; i < missing.size(); ++i) {
    keys.push_back(keys_.FindUsable(missing[i], "encrypt"));
    if (keys.back()) continue;
    if (could_tell[i]) keys_.FailMissing("No usable key for " + missing[i] + ".");
    Fail(kIoTrouble, "No key server could be reached to ask for " + missing[i] + ".");
  }
  if (keys.empty()) keys_.FailMissing("No recipients.");
  return keys;
}

std::vector<Key> LibrnpEngine::RecipientKeys(const platform::IEngineStringVector& recipients) {
  std::vector<std::string> addresses;
  for (std::int32_t i = 0; i < recipients.Size(); ++i) {
    addresses.push_back(NormalAddress(recipients.Item(static_cast<std::int16_t>(i))));
  }
  return UsableKeys(addresses);
}

EngineStatus LibrnpEngine::EncryptText(const platform::IEngineStringVector& recipients,
                                       std::string_view text, std::string& armoured) {
  return Attempt([&] {
    const auto keys = RecipientKeys(recipients);
    TextSource source(text);
    TextSink sink;
    Encrypt(keys_.ffi(), keys, IsWorthCompressing(text), source, sink);
    if (anonymous_ && !HideRecipients(sink.text)) FailToHide();
    armoured = Armour(sink.text, "message", message_version_);
    return kDone;
  });
}

namespace {

/// How much text may come out of a message of so many bytes.
std::size_t MaxTextFrom(std::size_t size) {
  return std::clamp(size * kMaxTextExpansion, kTextAlwaysAllowed, kMaxTextSize);
}

std::string DigestOf(std::string_view text) {
  Digest digest;
  digest.Add(text);
  return digest.Finish();
}

ArmourBlock RequireMessage(std::string_view text) {
  const auto found = FindArmour(text, "MESSAGE");
  if (!found) Fail(kBadFormat, "This is no encrypted OpenPGP message.");
  return *found;
}

}  // namespace

CharsetNames LibrnpEngine::CharsetsOf(std::string_view armour) const {
  CharsetNames names;
  for (const auto& name : {declared_charset_, ArmourHeader(armour, "Charset")}) {
    if (!name.empty()) names.push_back(name);
  }
  return names;
}

std::string LibrnpEngine::Presented(std::string bytes, std::string_view armour,
                                    std::optional<InnerSignatures> signatures) {
  std::string text = DecodeText(std::move(bytes), CharsetsOf(armour));
  if (!signatures) {
    texts_.Forget(DigestOf(text));
    return text;
  }
  text = WrapSigned(text, *signatures, {});
  texts_.Add(DigestOf(text), std::move(signatures->verdict));
  return text;
}

EngineStatus LibrnpEngine::DecryptTextEx(std::string_view armoured,
                                         const platform::EngineAccount* account,
                                         std::string& plain) {
  return Attempt([&] {
    const auto found = RequireMessage(armoured);
    const std::string binary = Dearmour(found.block);
    const auto watch = WatchDecryption(binary.size());
    const EncryptedMessage message{binary, [&](std::string_view start, std::size_t replaced) {
                                     return std::make_unique<TextSource>(
                                         start, std::string_view(binary).substr(replaced));
                                   }};
    TextSink sink(MaxTextFrom(binary.size()));
    auto signatures =
        Decrypt(keys_, {AccountAddress(account), message_passphrases_, SignerFinder()}, message,
                {sink, [&] { sink.text.clear(); }});
    plain = Presented(std::move(sink.text), found.block, std::move(signatures));
    return kDone;
  });
}

EngineStatus LibrnpEngine::OpenSignedText(std::string_view armoured, std::string& signed_text) {
  return Attempt([&] {
    const auto found = RequireMessage(armoured);
    const std::string binary = Dearmour(found.block);
    if (!BeginsUnencrypted(binary)) Fail(kBadFormat, "The message is not only signed.");
    const auto watch = WatchDecryption(binary.size());
    const std::string message = WithoutIgnoredPackets(binary);
    TextSource source(message);
    TextSink sink(MaxTextFrom(binary.size()));
    auto signatures = ReadSignedMessage(keys_, SignerFinder(), source, sink);
    signed_text = Presented(std::move(sink.text), found.block, std::move(signatures));
    return kDone;
  });
}

void LibrnpEngine::SetMessagePassphrase(std::string_view passphrase) {
  message_passphrases_.insert(message_passphrases_.begin(), SecretString(passphrase));
  if (message_passphrases_.size() > kPassphrasesTried) message_passphrases_.pop_back();
}

EngineStatus LibrnpEngine::VerifyText(std::string_view signed_text,
                                      platform::IEngineStringVector& signers,
                                      platform::IEngineStringVector& unknown_signers,
                                      std::string& content) {
  return Attempt([&] {
    if (const auto* const found = texts_.Find(DigestOf(signed_text))) {
      const auto status = Report(*found, signers, unknown_signers);
      content = UnwrapSigned(signed_text);
      return status;
    }
    auto parts = ReadClearSigned(signed_text);
    const std::string signature = Dearmour(parts.signature);
    if (!AreSignatures(signature)) Fail(kBadContent, "The signature is damaged.");
    const auto find_signer = SignerFinder();
    const auto verify = [&](std::string_view content_bytes) {
      TextSource source(content_bytes);
      return Verify(keys_, find_signer, source, signature, true);
    };
    auto verdict = verify(parts.content);
    if (verdict.status == kBadSignature) {
      // Its mail may have been written, and signed, in a charset that was usual before UTF-8.
      for (const auto& bytes : EarlierEncodings(parts.content, CharsetsOf(parts.signature))) {
        auto other = verify(bytes);
        if (other.status != kGoodSignature) continue;
        verdict = std::move(other);
        break;
      }
    }
    const auto status = Report(verdict, signers, unknown_signers);
    content = std::move(parts.content);
    return status;
  });
}

}  // namespace corvessa::engine
