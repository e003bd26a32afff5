#pragma once

#include <functional>
#include <initializer_list>
#include <map>
#include <ole2.h>
#include <string>
#include <string_view>
#include <wrl/client.h>

#include "windows/com/variant.h"

namespace corvessa::com {

/// The identifiers of the members of one kind of object, each looked up once.
class MemberIds {
 public:
  DISPID Find(IDispatch& object, std::string_view name);

 private:
  std::map<std::string, DISPID, std::less<>> ids_;
};

/// An object whose members are found by name when they are used. Every failure throws Error, with
/// the description that the object gives. A call that a busy program turns down is repeated for
/// some seconds.
class Dispatch {
 public:
  /// Arguments in the order in which one writes them; the caller keeps what they own.
  using Arguments = std::initializer_list<VARIANT>;

  Dispatch() = default;
  /// `ids`, those of the object's kind, must outlive this; without them each call looks its member
  /// up.
  explicit Dispatch(Microsoft::WRL::ComPtr<IDispatch> object, MemberIds* ids = nullptr)
      : object_(std::move(object)), ids_(ids) {}

  explicit operator bool() const { return object_ != nullptr; }
  IDispatch* Get() const { return object_.Get(); }

  Variant GetProperty(std::string_view name, Arguments arguments = {}) const;
  void PutProperty(std::string_view name, const Variant& value) const;
  /// Of a property with arguments.
  void PutProperty(std::string_view name, const Variant& argument, const Variant& value) const;
  /// A property that is an object. Throws Error (91) when there is none.
  Microsoft::WRL::ComPtr<IDispatch> GetObjectProperty(std::string_view name,
                                                      Arguments arguments = {}) const;
  Variant Call(std::string_view method, Arguments arguments = {}) const;

 private:
  Variant Invoke(std::string_view name, WORD kind, Arguments arguments) const;

  Microsoft::WRL::ComPtr<IDispatch> object_;
  MemberIds* ids_ = nullptr;
};

/// Stands for an argument that is left out.
VARIANT Missing();

/// Throws Error (91) for null.
Microsoft::WRL::ComPtr<IDispatch> Required(Microsoft::WRL::ComPtr<IDispatch> object);

/// The name of an object's type, such as "MailItem". Throws Error when the object does not tell.
std::string TypeNameOf(IDispatch& object);

}  // namespace corvessa::com
