#pragma once

#include <concepts>
#include <cstdint>
#include <ole2.h>
#include <string>
#include <string_view>
#include <utility>
#include <wrl/client.h>

namespace corvessa::com {

/// Owns a VARIANT, the value of late-bound COM; empty by default.
class Variant {
 public:
  Variant() = default;
  explicit Variant(std::string_view text);
  /// Not for pointers, a text's among them.
  template <std::same_as<bool> Boolean>
  explicit Variant(Boolean value) {
    value_.vt = VT_BOOL;
    value_.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
  }
  explicit Variant(std::int32_t number);
  explicit Variant(IDispatch* object);
  Variant(Variant&& other) noexcept : value_(std::exchange(other.value_, {})) {}
  Variant& operator=(Variant&& other) noexcept;
  ~Variant() { VariantClear(&value_); }

  const VARIANT& Get() const { return value_; }
  /// For a call that gives a value.
  VARIANT* Receive();

  /// The value in that type, converted if necessary; bytes become hexadecimal text. Throws Error
  /// when it cannot be.
  std::string Text() const;
  bool Flag() const;
  std::int32_t Number() const;
  /// Null for Nothing, and for what is no object.
  Microsoft::WRL::ComPtr<IDispatch> Object() const;

 private:
  Variant As(VARTYPE type) const;

  VARIANT value_{};
};

}  // namespace corvessa::com
