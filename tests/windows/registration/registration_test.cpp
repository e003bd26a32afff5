#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <ole2.h>
#include <optional>
#include <string>

// The DLL registered and removed by the system's own program, as an installer does it.

namespace {

const std::wstring kClasses = L"Software\\Classes\\";
const std::wstring kEngine = L"{5F1A01CD-C172-4740-8EB5-CA6F96D5E0FB}";
const std::wstring kLibrary = L"{E825DC5E-D60C-437F-BFA6-AC51B162F5D6}";

std::wstring Dll() {
  std::wstring path = L"Z:" + std::filesystem::path(CORVESSA_ENGINE_DLL).wstring();
  std::ranges::replace(path, L'/', L'\\');
  return path;
}

int Regsvr32(const std::wstring& arguments) {
  return _wsystem((L"regsvr32.exe /s " + arguments).c_str());
}

/// A key's own value, or the one of that name, for every user of this machine.
std::optional<std::wstring> Value(const std::wstring& key, const wchar_t* name = nullptr) {
  wchar_t text[MAX_PATH];
  DWORD size = sizeof text;
  const LSTATUS status = RegGetValueW(HKEY_LOCAL_MACHINE, (kClasses + key).c_str(), name,
                                      RRF_RT_REG_SZ, nullptr, text, &size);
  return status == ERROR_SUCCESS ? std::optional<std::wstring>(text) : std::nullopt;
}

TEST(RegistrationTest, IsForEveryUserAndIsTakenBack) {
  for (int i = 0; i < 2; ++i) EXPECT_EQ(Regsvr32(Dll()), 0);
  EXPECT_EQ(Value(L"NimbraEncryptionEngine.Engine\\CLSID"), kEngine);
  EXPECT_EQ(Value(L"CLSID\\" + kEngine + L"\\InprocServer32"), Dll());
  EXPECT_EQ(Value(L"CLSID\\" + kEngine + L"\\InprocServer32", L"ThreadingModel"), L"Apartment");
  EXPECT_EQ(Value(L"CLSID\\" + kEngine + L"\\ProgID"), L"NimbraEncryptionEngine.Engine");
  EXPECT_EQ(Value(L"CLSID\\" + kEngine + L"\\TypeLib"), kLibrary);
  EXPECT_TRUE(Value(L"NimbraEncryptionEngine.StringVector\\CLSID"));
  EXPECT_TRUE(Value(L"TypeLib\\" + kLibrary + L"\\1.0"));

  for (int i = 0; i < 2; ++i) EXPECT_EQ(Regsvr32(L"/u " + Dll()), 0);
  for (const auto* key : {L"NimbraEncryptionEngine.Engine", L"NimbraEncryptionEngine.StringVector",
                          L"CLSID\\{5F1A01CD-C172-4740-8EB5-CA6F96D5E0FB}",
                          L"CLSID\\{6048891C-9B16-403C-BB45-28DDA37CA7EE}",
                          L"TypeLib\\{E825DC5E-D60C-437F-BFA6-AC51B162F5D6}\\1.0"}) {
    EXPECT_EQ(Value(key), std::nullopt) << key;
  }
  CLSID clsid;
  EXPECT_EQ(CLSIDFromProgID(L"NimbraEncryptionEngine.Engine", &clsid), CO_E_CLASSSTRING);
}

TEST(RegistrationTest, TheDllSaysItsVersion) {
  DWORD ignored = 0;
  const DWORD size = GetFileVersionInfoSizeW(Dll().c_str(), &ignored);
  std::string info(size, '\0');
  ASSERT_TRUE(GetFileVersionInfoW(Dll().c_str(), 0, size, info.data()));
  void* text = nullptr;
  UINT length = 0;
  ASSERT_TRUE(
      VerQueryValueW(info.data(), L"\\StringFileInfo\\040904B0\\FileVersion", &text, &length));
  EXPECT_EQ(std::wstring(static_cast<wchar_t*>(text)), CORVESSA_VERSION);
}

}  // namespace
