#include <gtest/gtest.h>
#include <ole2.h>
#include <set>
#include <string>
#include <vector>

#include "windows/engine/registered_engine.h"

// The component as a program calls it that knows only the places of its operations: by pointers out
// of the object's table of functions, and by nothing that is ours.

namespace corvessa::windows {
namespace {

constexpr int kStandardEntries = 7;
constexpr int kPlaces = 71;

template <typename... Arguments>
HRESULT CallPlace(IUnknown* object, int place, Arguments... arguments) {
  using Method = HRESULT(STDMETHODCALLTYPE*)(IUnknown*, Arguments...);
  const auto* const table = *reinterpret_cast<void***>(object);
  return reinterpret_cast<Method>(table[kStandardEntries + place])(object, arguments...);
}

/// Any object of the component; its default interface is the one that derives from IDispatch.
IDispatch* New(const wchar_t* prog_id) {
  CLSID clsid{};
  void* object = nullptr;
  EXPECT_EQ(CLSIDFromProgID(prog_id, &clsid), S_OK);
  EXPECT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, &object), S_OK);
  return static_cast<IDispatch*>(object);
}

/// Takes over the text.
std::wstring Taken(BSTR text) {
  std::wstring taken(text ? text : L"", SysStringLen(text));
  SysFreeString(text);
  return taken;
}

class ByPlaceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    user.Generate("alice@example.org");
    engine = New(L"NimbraEncryptionEngine.Engine");
    recipients = New(L"NimbraEncryptionEngine.StringVector");
    EXPECT_EQ(CallPlace(recipients, 0, Text(L"alice@example.org")), S_OK);
    EXPECT_EQ(StatusOf(30, Text(L"alice@example.org"), Text(L"secret")), 0);
  }
  void TearDown() override {
    recipients->Release();
    EXPECT_EQ(engine->Release(), 0U);
    for (const BSTR text : texts) SysFreeString(text);
  }

  /// A text to hand in.
  BSTR Text(const std::wstring& text) {
    return texts.emplace_back(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())));
  }
  std::wstring Write(const std::wstring& name, std::string_view content) const {
    testing::WriteContent(user.folder / name, content);
    return (user.folder / name).wstring();
  }

  /// Of an operation that answers with one, behind its other arguments.
  template <typename... Arguments>
  LONG StatusOf(int place, Arguments... arguments) {
    LONG status = 99;
    EXPECT_EQ(CallPlace(engine, place, arguments..., &status), S_OK) << place;
    return status;
  }
  /// The items, joined by blanks. Takes over the vector.
  std::wstring Items(IDispatch* vector) {
    std::wstring items;
    LONG size = -1;
    EXPECT_EQ(CallPlace(vector, 2, &size), S_OK);
    BSTR item = nullptr;
    for (int i = 0; i < size; ++i) {
      EXPECT_EQ(CallPlace(vector, 3, i, &item), S_OK);
      items += (i == 0 ? L"" : L" ") + Taken(item);
    }
    for (const int beyond : {-1, static_cast<int>(size)}) {
      EXPECT_EQ(CallPlace(vector, 3, beyond, &item), HRESULT(0x800A0005));
    }
    vector->Release();
    return items;
  }

  RegisteredEngine user;
  std::vector<BSTR> texts;
  IDispatch* engine = nullptr;
  IDispatch* recipients = nullptr;
  IDispatch* const no_account = nullptr;
  BSTR out = nullptr;
};

TEST_F(ByPlaceTest, TextsAreSignedVerifiedEncryptedAndDecrypted) {
  const std::wstring text(L"gr\xFC\xDF \0 \xD83D\xDE00\r\n", 11);
  EXPECT_EQ(StatusOf(34, Text(text), no_account, &out), 0);
  const std::wstring signed_text = Taken(out);
  EXPECT_TRUE(signed_text.starts_with(L"-----BEGIN PGP SIGNED MESSAGE-----\r\n"));
  IDispatch* signers = nullptr;
  IDispatch* unknown = New(L"NimbraEncryptionEngine.StringVector");
  EXPECT_EQ(CallPlace(unknown, 0, Text(L"kept")), S_OK);
  EXPECT_EQ(StatusOf(57, Text(signed_text), &signers, &unknown, &out), 1);
  EXPECT_EQ(Items(signers), L"alice@example.org");
  EXPECT_EQ(Items(unknown), L"kept");
  EXPECT_EQ(Taken(out), text);

  EXPECT_EQ(StatusOf(48, recipients, Text(text), &out), 0);
  const std::wstring armoured = Taken(out);
  EXPECT_TRUE(armoured.starts_with(L"-----BEGIN PGP MESSAGE-----\r\n"));
  EXPECT_EQ(StatusOf(52, Text(armoured), no_account, &out), 0);
  EXPECT_EQ(Taken(out), text);
}

TEST_F(ByPlaceTest, FilesAreSignedVerifiedEncryptedAndDecrypted) {
  const std::wstring plain = Write(L"plain.txt", "data");
  EXPECT_EQ(StatusOf(32, Text(plain), &out), 0);
  const std::wstring signature = Taken(out);
  IDispatch* signers = nullptr;
  IDispatch* unknown = nullptr;
  EXPECT_EQ(StatusOf(59, Text(plain), Text(signature), &signers, &unknown), 1);
  EXPECT_EQ(Items(signers), L"alice@example.org");
  EXPECT_EQ(Items(unknown), L"");
  EXPECT_TRUE(DeleteFileW(signature.c_str()));

  for (const std::wstring& wanted : {plain + L".pgp", std::wstring()}) {
    BSTR place = SysAllocString(wanted.c_str());
    EXPECT_EQ(StatusOf(66, recipients, Text(plain), &place), 0);
    const std::wstring encrypted = Taken(place);
    EXPECT_TRUE(encrypted == wanted || wanted.empty());
    EXPECT_NE(testing::ContentOf(encrypted), "data");
    EXPECT_EQ(StatusOf(51, Text(encrypted), no_account), 0);
    EXPECT_EQ(testing::ContentOf(encrypted), "data");
    EXPECT_TRUE(DeleteFileW(encrypted.c_str()));
  }
}

TEST_F(ByPlaceTest, OptionsModesAndQueriesWork) {
  EXPECT_EQ(CallPlace(engine, 14, Text(L"pgpMessageHeader"), Text(L"Corvessa 1")), S_OK);
  EXPECT_EQ(CallPlace(engine, 68, VARIANT_TRUE), S_OK);
  EXPECT_EQ(StatusOf(48, recipients, Text(L"x"), &out), 0);
  const std::wstring armoured = Taken(out);
  EXPECT_NE(armoured.find(L"\r\nVersion: Corvessa 1\r\n"), std::wstring::npos);
  // A hidden recipient's key ID is eight zeros, the first of them at the third byte.
  EXPECT_NE(armoured.find(L"\r\n\r\nwV4DAAAAAAAAAAAS"), std::wstring::npos);

  EXPECT_EQ(StatusOf(22, Text(L"alice@example.org"), &out), 0);
  EXPECT_EQ(Taken(out).size(), 40U);
  EXPECT_EQ(StatusOf(22, Text(L"bob@example.org"), &out), -13);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(CallPlace(engine, 60, &out), S_OK);
  EXPECT_NE(Taken(out).find(L"bob@example.org"), std::wstring::npos);

  Write(L"Nimbra Communications\\Corvessa Professional\\adk.txt",
        "example.org: vault@example.org\n");
  for (const int place : {69, 70}) {
    IDispatch* addresses = nullptr;
    EXPECT_EQ(StatusOf(place, Text(L"bob@example.org"), &addresses), 0);
    EXPECT_EQ(Items(addresses), L"vault@example.org");
  }

  EXPECT_EQ(StatusOf(15), 0);
  EXPECT_EQ(StatusOf(52, Text(armoured), no_account, &out), -13) << "nothing is unlocked";
  EXPECT_EQ(StatusOf(30, Text(L"alice@example.org"), Text(L"guess")), -4);
}

TEST_F(ByPlaceTest, OtherPlacesAreReserved) {
  const std::set<int> taken = {14, 15, 22, 30, 32, 34, 48, 51, 52, 57, 59, 60, 66, 68, 69, 70};
  for (int place = 0; place < kPlaces; ++place) {
    if (taken.contains(place)) continue;
    EXPECT_EQ(CallPlace(engine, place), E_NOTIMPL) << place;
  }
  EXPECT_EQ(CallPlace(recipients, 1), E_NOTIMPL);
}

}  // namespace
}  // namespace corvessa::windows
