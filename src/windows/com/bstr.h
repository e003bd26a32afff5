#pragma once

#include <ole2.h>
#include <string>
#include <string_view>

#include "base/secret_string.h"

namespace corvessa::com {

/// Owns a BSTR, the text of COM: UTF-16 with its length. A null pointer is an empty text. Wiped
/// when it ends, because the system keeps freed texts for later use.
class Bstr {
 public:
  Bstr() = default;
  /// Throws Error (E_INVALIDARG) for what is not UTF-8.
  explicit Bstr(std::string_view text);
  Bstr(Bstr&& other) noexcept : text_(other.Release()) {}
  Bstr& operator=(Bstr&& other) noexcept;
  ~Bstr() { Clear(); }

  /// With U+FFFD for what is not UTF-8, and empty when memory is short: for messages about a
  /// failure, which must not fail themselves.
  static Bstr ForMessage(std::string_view text) noexcept;

  BSTR Get() const { return text_; }
  /// For a call that gives a text.
  BSTR* Receive();
  /// For a call that may replace the text.
  BSTR* Exchange() { return &text_; }
  /// The caller frees it from now on.
  BSTR Release() noexcept;
  /// See TextOf.
  std::string Text() const;
  /// With U+FFFD for half a surrogate pair.
  std::string Shown() const;

 private:
  void Clear() noexcept;

  BSTR text_ = nullptr;
};

/// A BSTR as UTF-8. Throws Error (E_INVALIDARG) for half a surrogate pair.
std::string TextOf(BSTR text);
/// The same for a passphrase.
SecretString SecretOf(BSTR text);

}  // namespace corvessa::com
