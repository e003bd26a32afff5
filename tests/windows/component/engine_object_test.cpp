#include "windows_engine/engine_object.h"

#include <atomic>
#include <cstring>
#include <gtest/gtest.h>
#include <new>
#include <stdexcept>

#include "base/error.h"
#include "windows/com/bstr.h"
#include "windows/com/dispatch.h"
#include "windows/component/stub_engine.h"
#include "windows_engine/string_vector.h"

namespace corvessa::windows {
namespace {

using com::Bstr;
using Microsoft::WRL::ComPtr;

class EngineObjectTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
    object = new EngineObject(
        [this] {
          engines.push_back(std::make_shared<StubEngine>());
          engines.back()->on_decrypt = on_decrypt;
          return engines.back();
        },
        {std::chrono::milliseconds(200), std::chrono::milliseconds(0)});
  }
  void TearDown() override {
    object = nullptr;
    EXPECT_FALSE(com::ModuleUse::IsAny()) << "an object is left";
    CoUninitialize();
  }

  HRESULT Decrypt(std::string_view armoured, std::string& plain, LONG& status) {
    Bstr text;
    const HRESULT result =
        object->DecryptTextEx(Bstr(armoured).Get(), nullptr, text.Receive(), &status);
    plain = text.Text();
    return result;
  }

  std::vector<std::shared_ptr<StubEngine>> engines;
  std::function<platform::EngineStatus(std::string&)> on_decrypt;
  ComPtr<EngineObject> object;
};

TEST_F(EngineObjectTest, TextsPassUnchangedWhateverTheyHold) {
  std::string large;
  while (large.size() < (std::size_t{32} << 20)) large += "0123456789 \xc3\xbc\r\n";
  for (const std::string& text : {std::string(), std::string("a\0b\0", 4),
                                  std::string("gr\xc3\xbc\xc3\x9f \xf0\x9f\x98\x80"), large}) {
    std::string plain;
    LONG status = 1;
    EXPECT_EQ(Decrypt(text, plain, status), S_OK);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(plain == text) << text.substr(0, 20);
  }
}

TEST_F(EngineObjectTest, HalfASurrogatePairIsRefused) {
  for (const std::wstring wide : {L"\xD83D", L"a\xDE00z", L"\xDE00\xD83D", L"\xD83D\xD83D\xDE00"}) {
    const BSTR text = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
    Bstr plain;
    LONG status = 0;
    EXPECT_EQ(object->DecryptTextEx(text, nullptr, plain.Receive(), &status), E_INVALIDARG);
    EXPECT_EQ(status, -11);
    EXPECT_EQ(plain.Get(), nullptr);
    EXPECT_EQ(object->SetOption(text, text), E_INVALIDARG);
    SysFreeString(text);
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
    engines.back()->on_decrypt = [&](std::string&) { return fail(), 0; };
    std::string plain;
    LONG status = 0;
    const HRESULT answer = Decrypt("x", plain, status);
    EXPECT_EQ(answer, result);
    EXPECT_EQ(status, -11);
    EXPECT_EQ(plain, "");
    try {
      com::Check(answer, static_cast<ISupportErrorInfo*>(object.Get()),
                 __uuidof(INimbraEncryptionEngine));
      ADD_FAILURE() << sentence;
    } catch (const Error& error) {
      EXPECT_EQ(error.description, sentence);
    }
  }
}

TEST_F(EngineObjectTest, MissingPlacesForResultsAreRefusedAndTheOthersSet) {
  LONG status = 7;
  Bstr text("x");
  EXPECT_EQ(object->DecryptTextEx(text.Get(), nullptr, nullptr, &status), E_POINTER);
  EXPECT_EQ(status, -11);
  EXPECT_EQ(object->InitEngine(nullptr), E_POINTER);
  EXPECT_EQ(object->GetEngineLastError(nullptr), E_POINTER);
  EXPECT_EQ(object->EncryptText(nullptr, text.Get(), Bstr().Receive(), &status),
            HRESULT(0x800A005B));
}

TEST_F(EngineObjectTest, AnOperationWithoutEndAnswersAndTheNextOneWorks) {
  const auto is_over = std::make_shared<std::atomic<bool>>(false);
  EXPECT_EQ(object->SetOption(Bstr("customerID").Get(), Bstr("7").Get()), S_OK);
  EXPECT_EQ(object->SetAnonymousMode(VARIANT_TRUE), S_OK);
  engines.back()->on_decrypt = [is_over](std::string&) {
    while (!*is_over) {
    }
    return 0;
  };
  std::string plain;
  LONG status = 0;
  EXPECT_EQ(Decrypt("endless", plain, status), S_OK);
  EXPECT_EQ(status, -11);
  EXPECT_EQ(plain, "");
  Bstr sentence;
  EXPECT_EQ(object->GetEngineLastError(sentence.Receive()), S_OK);
  EXPECT_EQ(sentence.Text(), "The operation took too long.");
  EXPECT_EQ(Decrypt("next", plain, status), S_OK);
  EXPECT_EQ(std::pair(status, plain), std::pair(LONG{0}, std::string("next")));
  ASSERT_EQ(engines.size(), 2U);
  EXPECT_EQ(engines.back()->calls, (std::vector<std::string>{"customerID=7", "hidden"}));
  *is_over = true;
}

TEST_F(EngineObjectTest, VectorsCarryRecipientsInAndSignersOut) {
  ComPtr<IEngineStringVector> vector;
  ASSERT_TRUE(Provide(vector.GetAddressOf()));
  AddItems(*vector.Get(), {"a@x", "b@y"});
  Bstr text;
  LONG status = 1;
  EXPECT_EQ(object->EncryptText(vector.Get(), Bstr("t").Get(), text.Receive(), &status), S_OK);
  EXPECT_EQ(text.Text(), "t;a@x;b@y");
  EXPECT_EQ(vector->Item(2, text.Receive()), HRESULT(0x800A0005));
  EXPECT_EQ(vector->Item(-1, text.Receive()), HRESULT(0x800A0005));
  EXPECT_EQ(vector->Reserved1(), E_NOTIMPL);

  ComPtr<IEngineStringVector> unknown;
  EXPECT_EQ(object->VerifyText(Bstr("t").Get(), vector.GetAddressOf(), unknown.GetAddressOf(),
                               text.Receive(), &status),
            S_OK);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(ItemsOf(vector.Get()), (std::vector<std::string>{"a@x", "b@y", "signer"}));
  EXPECT_EQ(ItemsOf(unknown.Get()), std::vector<std::string>{"unknown"});
}

/// Gives every key the same passphrase, on the thread that it was made on.
class Passphrases final : public com::Object<Passphrases, com::Dual<INimbraPassphraseSource>> {
 public:
  static constexpr auto kProgId = L"test";

  HRESULT STDMETHODCALLTYPE GetPassphrase(BSTR fingerprint, IEngineStringVector* addresses,
                                          BSTR* passphrase,
                                          VARIANT_BOOL* is_given) noexcept override {
    asked = com::TextOf(fingerprint) + " " + ItemsOf(addresses).at(0);
    thread = GetCurrentThreadId();
    *passphrase = Bstr("secret").Release();
    *is_given = VARIANT_TRUE;
    return S_OK;
  }

  std::string asked;
  DWORD thread = 0;
};

TEST_F(EngineObjectTest, AnImportAsksForPassphrasesOnTheCallersThread) {
  ComPtr<INimbraKeyUpkeep> upkeep;
  ASSERT_EQ(object->QueryInterface(IID_PPV_ARGS(&upkeep)), S_OK);
  const ComPtr<Passphrases> source(new Passphrases);
  SAFEARRAY* const keys = SafeArrayCreateVector(VT_UI1, 0, 2);
  std::memcpy(keys->pvData, "k\0", 2);
  ComPtr<IEngineStringVector> fingerprints;
  LONG status = 1;
  EXPECT_EQ(upkeep->ImportKeys(keys, source.Get(), fingerprints.GetAddressOf(), &status), S_OK);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(source->asked, "F1 alice@example.org");
  EXPECT_EQ(source->thread, GetCurrentThreadId());
  EXPECT_EQ(ItemsOf(fingerprints.Get()), std::vector{std::string("k\0secret", 8)});
  SafeArrayDestroy(keys);
}

TEST_F(EngineObjectTest, ProgramsThatBindLateFindEveryOperation) {
  ComPtr<IDispatch> late;
  ASSERT_EQ(object->QueryInterface(IID_PPV_ARGS(&late)), S_OK);
  const com::Dispatch engine(late);
  const com::Variant name("customerID");
  const com::Variant value("7");
  engine.Call("SetOption", {name.Get(), value.Get()});
  EXPECT_EQ(engines.back()->calls, (std::vector<std::string>{"open", "customerID=7"}));
  Bstr signed_text;
  VARIANT out = {};
  out.vt = VT_BYREF | VT_BSTR;
  out.pbstrVal = signed_text.Exchange();
  const com::Variant nothing(static_cast<IDispatch*>(nullptr));
  EXPECT_EQ(engine.Call("SignText", {name.Get(), nothing.Get(), out}).Number(), 0);
  EXPECT_EQ(signed_text.Text(), "customerID");
  EXPECT_EQ(engine.Call("GetEngineLastError").Text(), "The last error.");
  engines.back()->on_decrypt = [](std::string&) -> int { Raise(kInvalidArgument, "Not now."); };
  try {
    engine.Call("DecryptTextEx", {name.Get(), nothing.Get(), out});
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(error.number, 5);
    EXPECT_EQ(error.description, "Not now.");
  }
}

}  // namespace
}  // namespace corvessa::windows
