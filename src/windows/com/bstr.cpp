#include "windows/com/bstr.h"

#include <new>
#include <utility>

#include "base/error.h"
#include "win32/utf16.h"

namespace corvessa::com {
namespace {

BSTR Allocate(std::size_t units) {
  const BSTR text = SysAllocStringLen(nullptr, static_cast<UINT>(units));
  if (!text) throw std::bad_alloc();
  return text;
}

}  // namespace

Bstr::Bstr(std::string_view text) {
  const auto size = win32::Utf16Size(text);
  if (!size) Raise(E_INVALIDARG, "The text is not UTF-8.");
  text_ = Allocate(*size);
  win32::WriteUtf16(text, {text_, *size});
}

Bstr& Bstr::operator=(Bstr&& other) noexcept {
  if (this == &other) return *this;
  Clear();
  text_ = other.Release();
  return *this;
}

Bstr Bstr::ForMessage(std::string_view text) noexcept {
  Bstr shown;
  try {
    const auto wide = win32::ShownUtf16(text);
    shown.text_ = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
  } catch (const std::exception&) {
    // Empty, as promised.
  }
  return shown;
}

BSTR* Bstr::Receive() {
  Clear();
  return &text_;
}

BSTR Bstr::Release() noexcept {
  return std::exchange(text_, nullptr);
}

std::string Bstr::Text() const {
  return TextOf(text_);
}

std::string Bstr::Shown() const {
  return text_ ? win32::ShownUtf8({text_, SysStringLen(text_)}) : std::string();
}

void Bstr::Clear() noexcept {
  if (!text_) return;
  SecureZeroMemory(text_, SysStringByteLen(text_));
  SysFreeString(std::exchange(text_, nullptr));
}

std::string TextOf(BSTR text) {
  if (!text) return {};
  auto narrow = win32::Utf8({text, SysStringLen(text)});
  if (!narrow) Raise(E_INVALIDARG, "The text holds half a surrogate pair.");
  return std::move(*narrow);
}

SecretString SecretOf(BSTR text) {
  std::string plain = TextOf(text);
  SecretString secret(plain);
  WipeText(plain);
  return secret;
}

}  // namespace corvessa::com
