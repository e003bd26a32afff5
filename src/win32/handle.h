#pragma once

#include <system_error>
#include <utility>
#include <windows.h>

/// Handles that close themselves, and failures of Win32 functions as exceptions.
namespace corvessa::win32 {

/// Owns a handle that CloseHandle closes; INVALID_HANDLE_VALUE is none.
class Handle {
 public:
  explicit Handle(HANDLE value = INVALID_HANDLE_VALUE) : value_(value) {}
  Handle(Handle&& other) noexcept : value_(other.Release()) {}
  Handle& operator=(Handle&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }
  ~Handle() {
    if (*this) CloseHandle(value_);
  }

  explicit operator bool() const { return value_ != INVALID_HANDLE_VALUE; }
  HANDLE Get() const { return value_; }
  /// The caller closes it from now on.
  HANDLE Release() { return std::exchange(value_, INVALID_HANDLE_VALUE); }

 private:
  HANDLE value_;
};

/// A number of GetLastError. Its message is UTF-8 in the user's language; it compares with
/// std::errc.
std::error_code ErrorCode(DWORD error);

/// Throws what GetLastError says, by system::Throw.
[[noreturn]] void ThrowLastError();

/// For the BOOL that most Win32 functions return.
inline void Check(BOOL succeeded) {
  if (!succeeded) ThrowLastError();
}

}  // namespace corvessa::win32
