#pragma once

#include <initializer_list>
#include <ole2.h>
#include <string_view>
#include <wrl/client.h>

#include "windows/com/variant.h"

namespace corvessa::com {

/// An object whose members are found by name when they are used. Every failure throws Error, with
/// the description that the object gives.
class Dispatch {
 public:
  /// Arguments in the order in which one writes them; the caller keeps what they own.
  using Arguments = std::initializer_list<VARIANT>;

  Dispatch() = default;
  explicit Dispatch(Microsoft::WRL::ComPtr<IDispatch> object) : object_(std::move(object)) {}

  explicit operator bool() const { return object_ != nullptr; }
  IDispatch* Get() const { return object_.Get(); }

  Variant GetProperty(std::string_view name, Arguments arguments = {}) const;
  void PutProperty(std::string_view name, const Variant& value) const;
  Variant Call(std::string_view method, Arguments arguments = {}) const;

 private:
  Variant Invoke(std::string_view name, WORD kind, Arguments arguments) const;

  Microsoft::WRL::ComPtr<IDispatch> object_;
};

}  // namespace corvessa::com
