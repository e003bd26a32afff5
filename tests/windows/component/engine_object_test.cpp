#include "windows_engine/engine_object.h"

#include <atomic>
#include <gtest/gtest.h>
#include <new>
#include <stdexcept>

#include "base/error.h"
#include "base/guard.h"
#include "support/temp_folder.h"
#include "windows/com/bstr.h"
#include "windows/com/dispatch.h"
#include "windows_engine/string_vector.h"

namespace corvessa::windows {
namespace {

using com::Bstr;
using Microsoft::WRL::ComPtr;

class EngineObjectTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
    const auto config = [this] {
      engine::EngineConfig made{.rings_folder = folder / "keys", .passphrase_work = 1U << 16};
      made.watch_decryption = [is_endless = is_endless](std::uint64_t) -> std::shared_ptr<void> {
        while (*is_endless) {
        }
        return nullptr;
      };
      return made;
    };
    object = new EngineObject([config] { return engine::CreateOpenPgpEngine(config()); },
                              {std::chrono::milliseconds(1000), std::chrono::milliseconds(0)});
  }
  void TearDown() override {
    object = nullptr;
    EXPECT_FALSE(com::ModuleUse::IsAny()) << "an object is left";
    CoUninitialize();
  }

  LONG Decrypt(std::string_view armoured) {
    LONG status = 99;
    EXPECT_EQ(object->DecryptTextEx(Bstr(armoured).Get(), nullptr, text.Receive(), &status), S_OK);
    return status;
  }
  std::string Encrypt(std::string_view plain) {
    ComPtr<IEngineStringVector> recipients;
    EXPECT_TRUE(Provide(recipients.GetAddressOf()));
    AddItems(*recipients.Get(), {"alice@example.org"});
    LONG status = 99;
    object->EncryptText(recipients.Get(), Bstr(plain).Get(), text.Receive(), &status);
    EXPECT_EQ(status, 0);
    return text.Text();
  }

  testing::TempFolder folder;
  const std::shared_ptr<std::atomic<bool>> is_endless = std::make_shared<std::atomic<bool>>();
  ComPtr<EngineObject> object;
  Bstr text;
};

TEST_F(EngineObjectTest, HalfASurrogatePairIsRefused) {
  for (const std::wstring wide : {L"\xD83D", L"a\xDE00z", L"\xDE00\xD83D", L"\xD83D\xD83D\xDE00"}) {
    const BSTR half = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
    LONG status = 0;
    EXPECT_EQ(object->DecryptTextEx(half, nullptr, text.Receive(), &status), E_INVALIDARG);
    EXPECT_EQ(status, -11);
    EXPECT_EQ(text.Get(), nullptr);
    EXPECT_EQ(object->SetOption(half, half), E_INVALIDARG);
    SysFreeString(half);
  }
}

TEST_F(EngineObjectTest, FailuresBecomeResultsWithTheirSentence) {
  struct Case {
    std::function<void()> fail;
    HRESULT result;
    std::string sentence;
  };
  for (const auto& [fail, result, sentence] :
       {Case{[] { Raise(kInvalidArgument, "No option x."); }, HRESULT(0x800A0005), "No option x."},
        Case{[] { Raise(E_ACCESSDENIED, "Not you."); }, E_ACCESSDENIED, "Not you."},
        Case{[] { throw std::bad_alloc(); }, E_OUTOFMEMORY, "Out of memory."},
        Case{[] { throw std::runtime_error("broken"); }, E_FAIL, "broken"},
        Case{[] { throw 1; }, E_UNEXPECTED, "An unknown error occurred."}}) {
    const IID& iid = __uuidof(INimbraEncryptionEngine);
    const HRESULT answer = com::Bordered(iid, L"", fail);
    EXPECT_EQ(answer, result);
    const auto check = [&] {
      com::Check(answer, static_cast<ISupportErrorInfo*>(object.Get()), iid);
    };
    EXPECT_EQ(Attempt(check).description, sentence);
  }
}

TEST_F(EngineObjectTest, MissingPlacesForResultsAreRefusedAndTheOthersSet) {
  LONG status = 7;
  EXPECT_EQ(object->DecryptTextEx(text.Get(), nullptr, nullptr, &status), E_POINTER);
  EXPECT_EQ(status, -11);
  EXPECT_EQ(object->InitEngine(nullptr), E_POINTER);
  EXPECT_EQ(object->GetEngineLastError(nullptr), E_POINTER);
  EXPECT_EQ(object->EncryptText(nullptr, text.Get(), Bstr().Receive(), &status),
            HRESULT(0x800A005B));
}

TEST_F(EngineObjectTest, AnOperationWithoutEndAnswersAndTheNextOneWorks) {
  LONG status = 99;
  const Bstr alice("alice@example.org");
  const Bstr secret("secret");
  EXPECT_EQ(object->GenerateKey(nullptr, alice.Get(), secret.Get(), text.Receive(), &status), S_OK);
  EXPECT_EQ(object->AuthenticateAccount(alice.Get(), secret.Get(), &status), S_OK);
  EXPECT_EQ(object->SetOption(Bstr("pgpMessageHeader").Get(), Bstr("7").Get()), S_OK);
  EXPECT_EQ(object->SetAnonymousMode(VARIANT_TRUE), S_OK);
  std::string large;
  while (large.size() < (std::size_t{8} << 20))
    large += std::string("0123456789 \xc3\xbc\r\n\0", 16);
  const std::string armoured = Encrypt(large);
  *is_endless = true;
  EXPECT_EQ(Decrypt(armoured), -11);
  EXPECT_EQ(text.Text(), "");
  EXPECT_EQ(object->GetEngineLastError(text.Receive()), S_OK);
  EXPECT_EQ(text.Text(), "The operation took too long.");
  *is_endless = false;
  EXPECT_EQ(Decrypt(armoured), -13) << "nothing is unlocked";
  EXPECT_EQ(object->AuthenticateAccount(alice.Get(), secret.Get(), &status), S_OK);
  EXPECT_EQ(Decrypt(armoured), 0);
  EXPECT_TRUE(text.Text() == large);
  // A hidden recipient's key ID is eight zeros, the first of them at the third byte.
  constexpr auto kStart = "-----BEGIN PGP MESSAGE-----\r\nVersion: 7\r\n\r\nwV4DAAAAAAAAAAAS";
  EXPECT_TRUE(Encrypt("x").starts_with(kStart)) << "options and modes remain";
}

TEST_F(EngineObjectTest, ProgramsThatBindLateFindEveryOperation) {
  ComPtr<IDispatch> late;
  ASSERT_EQ(object->QueryInterface(IID_PPV_ARGS(&late)), S_OK);
  const com::Dispatch engine(late);
  const com::Variant name("pgpMessageHeader");
  VARIANT out = {};
  out.vt = VT_BYREF | VT_BSTR;
  out.pbstrVal = text.Exchange();
  engine.Call("SetOption", {name.Get(), name.Get()});
  EXPECT_EQ(engine.Call("QueryKeyPair", {name.Get(), out}).Number(), -13);
  EXPECT_EQ(engine.Call("GetEngineLastError").Text(), "No usable key for pgpmessageheader.");
  const Error error = Attempt([&] {
    engine.Call("SetOption", {com::Variant("x").Get(), name.Get()});
  });
  EXPECT_EQ(error.number, 5);
  EXPECT_EQ(error.description, "The engine has no option x.");
}

}  // namespace
}  // namespace corvessa::windows
