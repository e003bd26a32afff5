#include "win32/handle.h"

#include <string>

#include "system/errors.h"
#include "win32/utf16.h"

namespace corvessa::win32 {
namespace {

/// Missing from the headers.
constexpr int kDiskQuotaExceeded = 1295;

/// std::system_category knows what most numbers mean, but its messages are in the user's code page.
class Win32Category final : public std::error_category {
 public:
  const char* name() const noexcept override { return "win32"; }
  std::string message(int error) const override;
  std::error_condition default_error_condition(int error) const noexcept override;
};

std::string Win32Category::message(int error) const {
  constexpr DWORD kFlags =
      FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
  wchar_t text[512];
  const DWORD size = FormatMessageW(kFlags, nullptr, static_cast<DWORD>(error), 0, text,
                                    static_cast<DWORD>(std::size(text)), nullptr);
  std::wstring_view shown(text, size);
  shown = shown.substr(0, shown.find_last_not_of(L". ") + 1);
  return shown.empty() ? "Error " + std::to_string(error) : ShownUtf8(shown);
}

std::error_condition Win32Category::default_error_condition(int error) const noexcept {
  switch (error) {
    case kDiskQuotaExceeded:
      return std::errc::no_space_on_device;
    case ERROR_FILE_TOO_LARGE:
      return std::errc::file_too_large;
    case ERROR_CRC:
    case ERROR_IO_DEVICE:
      return std::errc::io_error;
    default:
      return std::system_category().default_error_condition(error);
  }
}

}  // namespace

std::error_code ErrorCode(DWORD error) {
  static const Win32Category category;
  return {static_cast<int>(error), category};
}

void ThrowLastError() {
  system::Throw(ErrorCode(GetLastError()));
}

}  // namespace corvessa::win32
