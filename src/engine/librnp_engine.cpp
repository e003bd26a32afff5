#include "engine/librnp_engine.h"

#include <utility>

#include "base/error.h"
#include "engine/addresses.h"
#include "engine/armour.h"
#include "engine/clear_signed.h"
#include "engine/decryption.h"
#include "engine/encryption.h"
#include "engine/key_facts.h"
#include "engine/packets.h"
#include "engine/signing.h"
#include "engine/verification.h"

namespace corvessa::engine {
namespace {

// Deflate can promise a thousand times what arrives; no text of a mail is this long.
constexpr std::size_t kMaxTextSize = std::size_t{256} << 20;

std::string AddressOf(const platform::EngineAccount* account) {
  return account ? NormalAddress(account->address) : std::string();
}

void RequireOneLine(std::string_view name, std::string_view value) {
  if (value.find_first_of("\r\n") == std::string_view::npos) return;
  Raise(kInvalidArgument, "The option " + std::string(name) + " takes one line.");
}

void Fill(platform::IEngineStringVector& vector, const std::vector<std::string>& items) {
  for (const auto& item : items) vector.Add(item);
}

}  // namespace

std::shared_ptr<OpenPgpEngine> CreateOpenPgpEngine(EngineConfig config) {
  try {
    return std::make_shared<LibrnpEngine>(std::move(config));
  } catch (const Failure& failure) {
    Raise(kCannotCreateComponent, failure.message);
  }
}

LibrnpEngine::LibrnpEngine(EngineConfig config)
    : config_(std::move(config)), keys_(config_.rings_folder) {}

void LibrnpEngine::SetOption(std::string_view name, std::string_view value) {
  RequireOneLine(name, value);
  if (name == "pgpMessageHeader") {
    message_version_ = value;
  } else if (name == "pgpSignatureHeader") {
    signature_version_ = value;
  } else {
    Raise(kInvalidArgument, "The engine has no option " + std::string(name) + ".");
  }
}

void LibrnpEngine::InitEngine() {
  keys_.LockAll();
}

EngineStatus LibrnpEngine::QueryKeyPair(std::string_view address, std::string& text) {
  return Attempt([&] {
    const auto key = keys_.FindUsable(NormalAddress(address), "encrypt");
    if (!key) Fail(kNoKey, "There is no usable key for " + std::string(address) + ".");
    text = Text(rnp_key_get_fprint, key.get());
    return kDone;
  });
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
    signed_text = ClearSign(keys_, AddressOf(account), text, signature_version_);
    return kDone;
  });
}

std::vector<Key> LibrnpEngine::RecipientKeys(const platform::IEngineStringVector& recipients) {
  std::vector<Key> keys;
  for (std::int32_t i = 0; i < recipients.Size(); ++i) {
    const std::string address = NormalAddress(recipients.Item(static_cast<std::int16_t>(i)));
    auto key = keys_.FindUsable(address, "encrypt");
    if (!key) Fail(kNoKey, "There is no usable key for " + address + ".");
    keys.push_back(std::move(key));
  }
  if (keys.empty()) Fail(kNoKey, "There is nobody to encrypt for.");
  return keys;
}

EngineStatus LibrnpEngine::EncryptText(const platform::IEngineStringVector& recipients,
                                       std::string_view text, std::string& armoured) {
  return Attempt([&] {
    const auto keys = RecipientKeys(recipients);
    TextSource source(text);
    TextSink sink;
    Encrypt(keys_.ffi(), keys, IsWorthCompressing(text), source, sink);
    if (anonymous_) HideRecipients(sink.text);
    armoured = Armour(sink.text, "message", message_version_);
    return kDone;
  });
}

EngineStatus LibrnpEngine::DecryptTextEx(std::string_view armoured,
                                         const platform::EngineAccount* account,
                                         std::string& plain) {
  return Attempt([&] {
    const auto found = FindArmour(armoured, "MESSAGE");
    if (!found) Fail(kBadFormat, "This is no encrypted OpenPGP message.");
    const std::string binary = Dearmour(found->block);
    const EncryptedMessage message{binary, [&](std::string_view start) {
                                     return std::make_unique<TextSource>(
                                         start, std::string_view(binary).substr(start.size()));
                                   }};
    TextSink sink(kMaxTextSize);
    Decrypt(keys_, AddressOf(account), message, {sink, [&] { sink.text.clear(); }});
    plain = std::move(sink.text);
    return kDone;
  });
}

EngineStatus LibrnpEngine::VerifyText(std::string_view signed_text,
                                      platform::IEngineStringVector& signers,
                                      platform::IEngineStringVector& unknown_signers,
                                      std::string& content) {
  return Attempt([&] {
    auto parts = ReadClearSigned(signed_text);
    const std::string signature = Dearmour(parts.signature);
    TextSource source(parts.content);
    const auto verdict = Verify(
        keys_, [](const std::string&) {}, source, signature, true);
    Fill(signers, verdict.signers);
    Fill(unknown_signers, verdict.unknown_signers);
    if (verdict.status != kGoodSignature) Fail(verdict.status, verdict.message);
    content = std::move(parts.content);
    return verdict.status;
  });
}

}  // namespace corvessa::engine
