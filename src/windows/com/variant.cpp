#include "windows/com/variant.h"

#include "windows/com/bstr.h"
#include "windows/com/errors.h"

namespace corvessa::com {

Variant::Variant(std::string_view text) {
  value_.bstrVal = Bstr(text).Release();
  value_.vt = VT_BSTR;
}

Variant::Variant(std::int32_t number) {
  value_.vt = VT_I4;
  value_.lVal = number;
}

Variant::Variant(IDispatch* object) {
  value_.vt = VT_DISPATCH;
  value_.pdispVal = object;
  if (object) object->AddRef();
}

Variant& Variant::operator=(Variant&& other) noexcept {
  if (this != &other) *Receive() = std::exchange(other.value_, {});
  return *this;
}

VARIANT* Variant::Receive() {
  VariantClear(&value_);
  return &value_;
}

Variant Variant::As(VARTYPE type) const {
  Variant converted;
  // The call reads it only.
  auto& value = const_cast<VARIANT&>(value_);
  Check(VariantChangeType(&converted.value_, &value, 0, type));
  return converted;
}

namespace {

/// Bytes as MAPI writes its identifiers.
std::string HexText(SAFEARRAY* bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  LONG first = 0;
  LONG last = -1;
  Check(SafeArrayGetLBound(bytes, 1, &first));
  Check(SafeArrayGetUBound(bytes, 1, &last));
  std::string text;
  for (LONG i = first; i <= last; ++i) {
    std::uint8_t byte = 0;
    Check(SafeArrayGetElement(bytes, &i, &byte));
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

}  // namespace

std::string Variant::Text() const {
  if (value_.vt == (VT_ARRAY | VT_UI1)) return HexText(value_.parray);
  return TextOf(As(VT_BSTR).value_.bstrVal);
}

bool Variant::Flag() const {
  return As(VT_BOOL).value_.boolVal != VARIANT_FALSE;
}

std::int32_t Variant::Number() const {
  return As(VT_I4).value_.lVal;
}

Microsoft::WRL::ComPtr<IDispatch> Variant::Object() const {
  Microsoft::WRL::ComPtr<IDispatch> object;
  if (value_.vt == VT_DISPATCH || value_.vt == VT_UNKNOWN) {
    if (value_.punkVal) value_.punkVal->QueryInterface(IID_PPV_ARGS(&object));
  }
  return object;
}

}  // namespace corvessa::com
