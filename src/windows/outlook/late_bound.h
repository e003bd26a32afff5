#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <wrl/client.h>

#include "windows/com/dispatch.h"

/// What the classes over other programs' objects are made of:
///
///   class LateBoundAttachment final : public LateBound<platform::Attachment> { … };
namespace corvessa::windows {

using DispatchPtr = Microsoft::WRL::ComPtr<IDispatch>;

/// An object of Outlook, Redemption or CDO behind the interface that the logic knows.
template <typename Interface>
class LateBound : public Interface {
 public:
  explicit LateBound(DispatchPtr object, com::MemberIds& ids = IdsOfKind())
      : object_(com::Required(std::move(object)), &ids) {}

  const com::Dispatch& Object() const { return object_; }

 protected:
  std::string Text(std::string_view property) const { return object_.GetProperty(property).Text(); }
  std::int32_t Number(std::string_view property) const {
    return object_.GetProperty(property).Number();
  }
  template <typename Value>
  void Put(std::string_view property, Value value) const {
    object_.PutProperty(property, com::Variant(value));
  }

  const com::Dispatch object_;

 private:
  static com::MemberIds& IdsOfKind() {
    static com::MemberIds ids;
    return ids;
  }
};

/// A member of a collection, by its place from 1.
inline DispatchPtr ItemOf(const com::Dispatch& collection, std::int32_t index) {
  return collection.GetObjectProperty("Item", {com::Variant(index).Get()});
}

}  // namespace corvessa::windows
