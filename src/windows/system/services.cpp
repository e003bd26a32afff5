#include "windows/system/services.h"

#include <ole2.h>
#include <shellapi.h>
#include <vector>
#include <winver.h>

#include "base/error.h"
#include "win32/module.h"
#include "win32/utf16.h"
#include "windows/com/bstr.h"
#include "windows/com/errors.h"

namespace corvessa::windows {

void WindowsShell::OpenPage(std::string_view url) {
  const auto wide = win32::Utf16(url);
  if (!wide) Raise(kInvalidArgument);
  const auto result = reinterpret_cast<INT_PTR>(
      ShellExecuteW(nullptr, L"open", wide->c_str(), nullptr, nullptr, SW_SHOWNORMAL));
  // What is not above 32 is a failure.
  if (result <= 32) com::Check(HRESULT_FROM_WIN32(static_cast<DWORD>(result)));
}

std::string WindowsClock::DateTimeText() {
  SYSTEMTIME now;
  GetLocalTime(&now);
  DATE date = 0;
  com::Bstr text;
  if (!SystemTimeToVariantTime(&now, &date)) Raise(kInvalidArgument);
  com::Check(VarBstrFromDate(date, LOCALE_USER_DEFAULT, 0, text.Receive()));
  return text.Text();
}

void WindowsClock::Randomize() {
  LARGE_INTEGER ticks;
  FILETIME now;
  QueryPerformanceCounter(&ticks);
  GetSystemTimeAsFileTime(&now);
  std::seed_seq seed{static_cast<std::uint32_t>(ticks.QuadPart),
                     static_cast<std::uint32_t>(now.dwLowDateTime),
                     static_cast<std::uint32_t>(now.dwHighDateTime),
                     static_cast<std::uint32_t>(GetCurrentProcessId())};
  generator_.seed(seed);
}

double WindowsClock::Random() {
  // A double holds exactly 53 bits, so rounding never reaches 1.
  constexpr double kScale = 1.0 / 9007199254740992.0;
  return static_cast<double>(generator_() >> 11) * kScale;
}

platform::ProductInfo ReadProductInfo() {
  const std::wstring path = win32::ModulePath();
  platform::ProductInfo product;
  product.folder = win32::ShownUtf8(path.substr(0, path.find_last_of(L'\\')));
  DWORD ignored = 0;
  std::vector<std::uint8_t> resource(GetFileVersionInfoSizeW(path.c_str(), &ignored));
  void* found = nullptr;
  UINT size = 0;
  if (resource.empty() ||
      !GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(resource.size()), resource.data()) ||
      !VerQueryValueW(resource.data(), L"\\", &found, &size)) {
    return product;
  }
  const auto& version = *static_cast<const VS_FIXEDFILEINFO*>(found);
  product.major_version = HIWORD(version.dwFileVersionMS);
  product.minor_version = LOWORD(version.dwFileVersionMS);
  product.revision = HIWORD(version.dwFileVersionLS);
  return product;
}

}  // namespace corvessa::windows
