#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/engine.h"

namespace corvessa::windows {

/// An engine without cryptography, for what the component adds to one. Texts come back as they are;
/// a test says what decrypting does.
class StubEngine final : public engine::OpenPgpEngine {
  using Status = platform::EngineStatus;
  using View = std::string_view;
  using Vector = platform::IEngineStringVector;
  using Account = platform::EngineAccount;

 public:
  void SetOption(View name, View value) override {
    calls.push_back(std::string(name) + "=" + std::string(value));
  }
  void InitEngine() override { calls.emplace_back("InitEngine"); }
  Status QueryKeyPair(View address, std::string& text) override { return Echo(address, text); }
  Status AuthenticateAccount(View, View) override { return 0; }
  Status SignFile(View path, std::string& signature) override { return Echo(path, signature); }
  Status SignText(View text, const Account* account, std::string& signed_text) override {
    return Echo(account ? account->address + " " + std::string(text) : std::string(text),
                signed_text);
  }
  Status EncryptText(const Vector& to, View text, std::string& armoured) override {
    std::string result(text);
    for (std::int32_t i = 0; i < to.Size(); ++i) {
      result += ";" + to.Item(static_cast<std::int16_t>(i));
    }
    return Echo(result, armoured);
  }
  Status DecryptFileEx(View, const Account*) override { return 0; }
  Status DecryptTextEx(View armoured, const Account*, std::string& plain) override {
    plain = armoured;
    return on_decrypt ? on_decrypt(plain) : 0;
  }
  Status VerifyText(View text, Vector& signers, Vector& unknown, std::string& content) override {
    signers.Add("signer");
    unknown.Add("unknown");
    Echo(text, content);
    return 1;
  }
  Status VerifyFile(View, View, Vector&, Vector&) override { return 0; }
  std::string GetEngineLastError() override { return "The last error."; }
  Status EncryptFileToFile(const Vector&, View, View) override { return 0; }
  void SetAnonymousMode(bool on) override { calls.emplace_back(on ? "hidden" : "open"); }
  Status GetAddressADKs(View, Vector&) override { return 0; }
  Status GetRecipientADKs(View, Vector&) override { return 0; }
  Status GenerateKey(View, View, View, engine::KeyInfo&) override { return 0; }
  Status ImportKeys(View data, const engine::AskPassphrase& ask,
                    std::vector<engine::KeyInfo>& keys) override {
    const auto passphrase = ask("F1", {"alice@example.org"});
    keys = {{.fingerprint = std::string(data)}};
    if (passphrase) keys.front().fingerprint += passphrase->View();
    return 0;
  }
  Status ExportPublicKeys(View who, std::string& armoured) override { return Echo(who, armoured); }
  Status ExportSecretKeys(View who, std::string& armoured) override { return Echo(who, armoured); }
  Status RemoveKeys(View) override { return 0; }
  Status ListKeys(std::vector<engine::KeyInfo>&) override { return 0; }
  Status FindKeys(View, std::vector<engine::KeyInfo>&) override { return 0; }
  Status PublishKeys(View) override { return 0; }

  std::function<Status(std::string& plain)> on_decrypt;
  std::vector<std::string> calls;

 private:
  static Status Echo(View text, std::string& result) {
    result = text;
    return 0;
  }
};

}  // namespace corvessa::windows
