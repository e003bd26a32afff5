#include "windows/engine/com_engine.h"

#include <cstring>
#include <gtest/gtest.h>

#include "engine/profile.h"
#include "windows/com/bstr.h"
#include "windows/engine/registered_engine.h"
#include "windows_engine/engine_object.h"
#include "windows_engine/string_vector.h"

// Has the engine's suite run over the engine's COM object, through the add-in's client.

namespace corvessa::windows {
namespace {

using com::Bstr;
using engine::AskPassphrase;
using engine::KeyInfo;
using Microsoft::WRL::ComPtr;
using Status = platform::EngineStatus;

class Passphrases final : public com::Object<Passphrases, com::Dual<INimbraPassphraseSource>> {
 public:
  static constexpr auto kProgId = L"test";

  explicit Passphrases(AskPassphrase ask) : ask_(std::move(ask)) {}

  HRESULT STDMETHODCALLTYPE GetPassphrase(BSTR fingerprint, IEngineStringVector* addresses,
                                          BSTR* passphrase,
                                          VARIANT_BOOL* is_given) noexcept override {
    return Bordered<INimbraPassphraseSource>([&] {
      const auto given = ask_(com::TextOf(fingerprint), ItemsOf(addresses));
      *is_given = given ? VARIANT_TRUE : VARIANT_FALSE;
      *passphrase = given ? Bstr(given->View()).Release() : nullptr;
    });
  }

 private:
  AskPassphrase ask_;
};

SAFEARRAY* ArrayOf(std::string_view bytes) {
  SAFEARRAY* const array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
  std::memcpy(array->pvData, bytes.data(), bytes.size());
  return array;
}

/// What the suite calls, made of the two interfaces of the component.
class OverCom final : public engine::OpenPgpEngine {
  using View = std::string_view;
  using Vector = platform::IEngineStringVector;
  using Account = platform::EngineAccount;

 public:
  explicit OverCom(ComPtr<INimbraEncryptionEngine> component) : engine_(component) {
    com::Check(component.As(&upkeep_));
  }

  void SetOption(View name, View value) override { engine_.SetOption(name, value); }
  void InitEngine() override { engine_.InitEngine(); }
  Status QueryKeyPair(View address, std::string& text) override {
    return engine_.QueryKeyPair(address, text);
  }
  Status AuthenticateAccount(View address, View passphrase) override {
    return engine_.AuthenticateAccount(address, passphrase);
  }
  Status SignFile(View path, std::string& signature) override {
    return engine_.SignFile(path, signature);
  }
  Status SignText(View text, const Account* account, std::string& signed_text) override {
    return engine_.SignText(text, account, signed_text);
  }
  Status EncryptText(const Vector& to, View text, std::string& armoured) override {
    return engine_.EncryptText(to, text, armoured);
  }
  Status DecryptFileEx(View path, const Account* account) override {
    return engine_.DecryptFileEx(path, account);
  }
  Status DecryptTextEx(View armoured, const Account* account, std::string& plain) override {
    return engine_.DecryptTextEx(armoured, account, plain);
  }
  Status VerifyText(View text, Vector& signers, Vector& unknown, std::string& content) override {
    return engine_.VerifyText(text, signers, unknown, content);
  }
  Status VerifyFile(View path, View signature, Vector& signers, Vector& unknown) override {
    return engine_.VerifyFile(path, signature, signers, unknown);
  }
  std::string GetEngineLastError() override { return engine_.GetEngineLastError(); }
  Status EncryptFileToFile(const Vector& to, View path, View encrypted_path) override {
    return engine_.EncryptFileToFile(to, path, encrypted_path);
  }
  void SetAnonymousMode(bool anonymous) override { engine_.SetAnonymousMode(anonymous); }
  Status GetAddressADKs(View address, Vector& addresses) override {
    return engine_.GetAddressADKs(address, addresses);
  }
  Status GetRecipientADKs(View recipient, Vector& addresses) override {
    return engine_.GetRecipientADKs(recipient, addresses);
  }

  Status GenerateKey(View name, View address, View passphrase, KeyInfo& made) override {
    Bstr fingerprint;
    const auto status = Call([&](LONG* result) {
      return upkeep_->GenerateKey(Bstr(name).Get(), Bstr(address).Get(), Bstr(passphrase).Get(),
                                  fingerprint.Receive(), result);
    });
    if (status == 0) made = Describe(fingerprint.Text());
    return status;
  }
  Status ImportKeys(View data, const AskPassphrase& ask, std::vector<KeyInfo>& keys) override {
    const ComPtr<Passphrases> source(new Passphrases(ask));
    SAFEARRAY* const array = ArrayOf(data);
    ComPtr<IEngineStringVector> found;
    const auto status = Call([&](LONG* result) {
      return upkeep_->ImportKeys(array, source.Get(), found.GetAddressOf(), result);
    });
    SafeArrayDestroy(array);
    keys = DescribeAll(found.Get());
    return status;
  }
  Status ExportPublicKeys(View who, std::string& armoured) override {
    return TextCall(&INimbraKeyUpkeep::ExportPublicKeys, who, armoured);
  }
  Status ExportSecretKeys(View who, std::string& armoured) override {
    return TextCall(&INimbraKeyUpkeep::ExportSecretKeys, who, armoured);
  }
  Status RemoveKeys(View who) override {
    return Call([&](LONG* result) { return upkeep_->RemoveKeys(Bstr(who).Get(), result); });
  }
  Status ListKeys(std::vector<KeyInfo>& keys) override {
    ComPtr<IEngineStringVector> found;
    const auto status =
        Call([&](LONG* result) { return upkeep_->ListKeys(found.GetAddressOf(), result); });
    keys = DescribeAll(found.Get());
    return status;
  }
  Status FindKeys(View who, std::vector<KeyInfo>& keys) override {
    const auto status = ListKeys(keys);
    std::erase_if(keys, [&](const KeyInfo& key) {
      return key.fingerprint != who && std::ranges::find(key.addresses, who) == key.addresses.end();
    });
    return status;
  }
  Status PublishKeys(View address) override {
    return Call([&](LONG* result) { return upkeep_->PublishKeys(Bstr(address).Get(), result); });
  }

 private:
  template <typename Method>
  Status Call(Method method) {
    LONG status = 99;
    com::Check(method(&status), upkeep_.Get(), __uuidof(INimbraKeyUpkeep));
    return status;
  }
  template <typename Method>
  Status TextCall(Method method, View who, std::string& text) {
    Bstr result;
    const auto status = Call([&](LONG* answer) {
      return (upkeep_.Get()->*method)(Bstr(who).Get(), result.Receive(), answer);
    });
    if (status == 0) text = result.Text();
    return status;
  }
  std::vector<KeyInfo> DescribeAll(IEngineStringVector* fingerprints) {
    std::vector<KeyInfo> keys;
    for (const auto& fingerprint : ItemsOf(fingerprints)) keys.push_back(Describe(fingerprint));
    return keys;
  }
  KeyInfo Describe(const std::string& fingerprint) {
    ComPtr<IEngineStringVector> user_ids;
    ComPtr<IEngineStringVector> addresses;
    Bstr algorithm;
    double created = 0;
    double expires = 0;
    NimbraKeyFlags flags{};
    const auto status = Call([&](LONG* result) {
      return upkeep_->DescribeKey(Bstr(fingerprint).Get(), user_ids.GetAddressOf(),
                                  addresses.GetAddressOf(), algorithm.Receive(), &created, &expires,
                                  &flags, result);
    });
    EXPECT_EQ(status, 0) << fingerprint;
    return {.fingerprint = fingerprint,
            .user_ids = ItemsOf(user_ids.Get()),
            .addresses = ItemsOf(addresses.Get()),
            .algorithm = algorithm.Text(),
            .created = static_cast<std::int64_t>(created),
            .expires = static_cast<std::int64_t>(expires),
            .secret = (flags & nimbraKeySecret) != 0,
            .open = (flags & nimbraKeyOpen) != 0,
            .revoked = (flags & nimbraKeyRevoked) != 0,
            .expired = (flags & nimbraKeyExpired) != 0,
            .encrypts = (flags & nimbraKeyEncrypts) != 0};
  }

  ComEngine engine_;
  ComPtr<INimbraKeyUpkeep> upkeep_;
};

std::shared_ptr<engine::OpenPgpEngine> OpenOverCom(engine::EngineConfig config) {
  // For the vectors that the client makes by their registered name.
  static const RegisteredEngine registered;
  ComPtr<INimbraEncryptionEngine> component;
  com::Check(com::CreateObject<EngineObject>(
      __uuidof(INimbraEncryptionEngine), reinterpret_cast<void**>(component.GetAddressOf()),
      [config] { return engine::CreateOpenPgpEngine(config); }));
  return std::make_shared<OverCom>(component);
}

const bool kIsSet = (engine::open_engine = OpenOverCom, engine::takes_any_bytes = false, true);

}  // namespace
}  // namespace corvessa::windows
