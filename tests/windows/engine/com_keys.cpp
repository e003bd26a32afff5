#include <algorithm>
#include <gtest/gtest.h>

#include "windows/com/bstr.h"
#include "windows/com/create.h"
#include "windows/com/errors.h"
#include "windows/engine/registered_engine.h"
#include "windows_engine/string_vector.h"

namespace corvessa::windows {
namespace {

using com::Bstr;
using engine::AskPassphrase;
using engine::KeyInfo;
using Microsoft::WRL::ComPtr;
using platform::EngineStatus;

class Passphrases final : public com::Object<Passphrases, com::Dual<INimbraPassphraseSource>> {
 public:
  static constexpr auto kProgId = L"test";

  explicit Passphrases(AskPassphrase ask) : ask_(std::move(ask)) {}

  HRESULT STDMETHODCALLTYPE GetPassphrase(BSTR fingerprint, IEngineStringVector* addresses,
                                          BSTR* passphrase,
                                          VARIANT_BOOL* is_given) noexcept override {
    EXPECT_EQ(GetCurrentThreadId(), thread_);
    return Bordered<INimbraPassphraseSource>([&] {
      const auto given = ask_(com::TextOf(fingerprint), ItemsOf(addresses));
      *is_given = given ? VARIANT_TRUE : VARIANT_FALSE;
      *passphrase = given ? Bstr(given->View()).Release() : nullptr;
    });
  }

 private:
  AskPassphrase ask_;
  DWORD thread_ = GetCurrentThreadId();
};

class ComKeys final : public engine::KeyUpkeep {
  using View = std::string_view;

 public:
  explicit ComKeys(ComPtr<INimbraKeyUpkeep> component) : component_(std::move(component)) {}

  EngineStatus GenerateKey(View name, View address, View passphrase, KeyInfo& made) override {
    Bstr fingerprint;
    const auto status = Call(&INimbraKeyUpkeep::GenerateKey, Bstr(name).Get(), Bstr(address).Get(),
                             Bstr(passphrase).Get(), fingerprint.Receive());
    if (status == 0) made = Describe(fingerprint.Text());
    return status;
  }
  EngineStatus ImportKeys(View data, const AskPassphrase& ask,
                          std::vector<KeyInfo>& keys) override {
    const ComPtr<Passphrases> source(new Passphrases(ask));
    SAFEARRAY* const bytes = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(data.size()));
    const std::shared_ptr<SAFEARRAY> owner(bytes, SafeArrayDestroy);
    data.copy(static_cast<char*>(bytes->pvData), data.size());
    return ListCall(keys, &INimbraKeyUpkeep::ImportKeys, bytes, source.Get());
  }
  EngineStatus ExportPublicKeys(View who, std::string& armoured) override {
    return TextCall(armoured, &INimbraKeyUpkeep::ExportPublicKeys, who);
  }
  EngineStatus ExportSecretKeys(View who, std::string& armoured) override {
    return TextCall(armoured, &INimbraKeyUpkeep::ExportSecretKeys, who);
  }
  EngineStatus RemoveKeys(View who) override {
    return Call(&INimbraKeyUpkeep::RemoveKeys, Bstr(who).Get());
  }
  EngineStatus ListKeys(std::vector<KeyInfo>& keys) override {
    return ListCall(keys, &INimbraKeyUpkeep::ListKeys);
  }
  EngineStatus FindKeys(View who, std::vector<KeyInfo>& keys) override {
    const auto status = ListKeys(keys);
    std::erase_if(keys, [&](const KeyInfo& key) {
      return key.fingerprint != who && std::ranges::find(key.addresses, who) == key.addresses.end();
    });
    return status;
  }
  EngineStatus PublishKeys(View address) override {
    return Call(&INimbraKeyUpkeep::PublishKeys, Bstr(address).Get());
  }

 private:
  template <typename Method, typename... Arguments>
  EngineStatus Call(Method method, Arguments... arguments) {
    LONG status = 99;
    com::Check((component_.Get()->*method)(arguments..., &status), component_.Get(),
               __uuidof(INimbraKeyUpkeep));
    return status;
  }
  template <typename Method>
  EngineStatus TextCall(std::string& text, Method method, View who) {
    Bstr result;
    const auto status = Call(method, Bstr(who).Get(), result.Receive());
    if (status == 0) text = result.Text();
    return status;
  }
  template <typename Method, typename... Arguments>
  EngineStatus ListCall(std::vector<KeyInfo>& keys, Method method, Arguments... arguments) {
    ComPtr<IEngineStringVector> found;
    const auto status = Call(method, arguments..., found.GetAddressOf());
    keys.clear();
    for (const auto& fingerprint : ItemsOf(found.Get())) keys.push_back(Describe(fingerprint));
    return status;
  }
  KeyInfo Describe(const std::string& fingerprint) {
    ComPtr<IEngineStringVector> user_ids;
    ComPtr<IEngineStringVector> addresses;
    Bstr algorithm;
    double created = 0;
    double expires = 0;
    NimbraKeyFlags flags{};
    EXPECT_EQ(Call(&INimbraKeyUpkeep::DescribeKey, Bstr(fingerprint).Get(), user_ids.GetAddressOf(),
                   addresses.GetAddressOf(), algorithm.Receive(), &created, &expires, &flags),
              0);
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

  ComPtr<INimbraKeyUpkeep> component_;
};

}  // namespace

std::shared_ptr<engine::KeyUpkeep> KeysOver(ComPtr<INimbraKeyUpkeep> component) {
  return std::make_shared<ComKeys>(std::move(component));
}

std::shared_ptr<engine::KeyUpkeep> RegisteredKeys() {
  return KeysOver(com::CreateByProgId<INimbraKeyUpkeep>(L"NimbraEncryptionEngine.Engine"));
}

}  // namespace corvessa::windows
