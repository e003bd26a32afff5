#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <ole2.h>
#include <string>
#include <wrl/client.h>

/// Events of late-bound objects, over their connection points.
namespace corvessa::com {

/// The arguments of an event, counted from 0 in the order in which its source declares them. A
/// missing or unfit one throws Error.
class EventArguments {
 public:
  explicit EventArguments(const DISPPARAMS& parameters) : parameters_(parameters) {}

  /// Throws Error (91) for Nothing.
  Microsoft::WRL::ComPtr<IDispatch> Object(std::size_t place) const;
  std::string Text(std::size_t place) const;
  /// A Boolean that is given by reference, such as Cancel.
  bool Flag(std::size_t place) const;
  void SetFlag(std::size_t place, bool value);

 private:
  VARIANT& At(std::size_t place) const;

  const DISPPARAMS& parameters_;
};

/// Gets each event of the set by its number. What it throws is the source's answer as HRESULT.
using EventHandler = std::function<void(DISPID event, EventArguments& arguments)>;

/// Subscribes to an event set of `source` until the result is dropped, after which the handler is
/// not called again, whatever the source does. Throws Error when the source has no such events.
std::shared_ptr<void> Subscribe(IUnknown* source, const IID& events, EventHandler handler);

}  // namespace corvessa::com
