#include "windows/com/event_sink.h"

#include <ocidl.h>
#include <utility>

#include "windows/com/entry.h"
#include "windows/com/errors.h"
#include "windows/com/single_interface.h"
#include "windows/com/variant.h"

namespace corvessa::com {
namespace {

using Microsoft::WRL::ComPtr;

/// What a source of events calls. It may keep its sink for longer than the subscription lives.
class EventSink final : public SingleInterface<EventSink, IDispatch> {
 public:
  EventSink(const IID& events, EventHandler handler)
      : events_(events), handler_(std::make_shared<EventHandler>(std::move(handler))) {}

  void Silence() { handler_.reset(); }

  bool Answers(const IID& iid) const { return iid == IID_IDispatch || iid == events_; }

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) noexcept override {
    if (!count) return E_POINTER;
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) noexcept override {
    if (info) *info = nullptr;
    return E_NOTIMPL;
  }
  /// Sources know events by their numbers.
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(const IID&, LPOLESTR*, UINT, LCID,
                                          DISPID*) noexcept override {
    return DISP_E_UNKNOWNNAME;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID event, const IID&, LCID, WORD, DISPPARAMS* parameters,
                                   VARIANT* result, EXCEPINFO*, UINT*) noexcept override {
    if (result) VariantInit(result);
    // The handler may end its own subscription.
    const Entry entry;
    const auto running = handler_;
    if (!running || !parameters) return S_OK;
    return Bordered(events_, L"", [&] {
      EventArguments arguments(*parameters);
      (*running)(event, arguments);
    });
  }

 private:
  IID events_;
  std::shared_ptr<EventHandler> handler_;
};

/// A sink at its connection point.
class Connection {
 public:
  Connection(IUnknown* source, const IID& events, EventHandler handler) {
    ComPtr<IConnectionPointContainer> container;
    if (!source) Raise(kObjectNotSet);
    Check(source->QueryInterface(IID_PPV_ARGS(&container)));
    Check(container->FindConnectionPoint(events, &point_));
    // Attach of mingw-w64 adds a reference.
    *sink_.GetAddressOf() = new EventSink(events, std::move(handler));
    Check(point_->Advise(sink_.Get(), &cookie_));
  }
  ~Connection() {
    sink_->Silence();
    // A window that is closed has dropped its sinks by itself.
    point_->Unadvise(cookie_);
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

 private:
  ComPtr<IConnectionPoint> point_;
  ComPtr<EventSink> sink_;
  DWORD cookie_ = 0;
};

/// The Boolean that an argument refers to.
VARIANT_BOOL& ReferredFlag(VARIANT& argument) {
  if (argument.vt == (VT_BYREF | VT_BOOL) && argument.pboolVal) return *argument.pboolVal;
  if (argument.vt == (VT_BYREF | VT_VARIANT) && argument.pvarVal) {
    VARIANT& referred = *argument.pvarVal;
    if (referred.vt == VT_BOOL) return referred.boolVal;
    if (referred.vt == (VT_BYREF | VT_BOOL) && referred.pboolVal) return *referred.pboolVal;
  }
  RaiseFailed(DISP_E_TYPEMISMATCH, {});
}

Variant Value(const VARIANT& argument) {
  Variant value;
  Check(VariantCopyInd(value.Receive(), const_cast<VARIANT*>(&argument)));
  return value;
}

}  // namespace

VARIANT& EventArguments::At(std::size_t place) const {
  if (place >= parameters_.cArgs) Check(DISP_E_BADPARAMCOUNT);
  return parameters_.rgvarg[parameters_.cArgs - 1 - place];
}

ComPtr<IDispatch> EventArguments::Object(std::size_t place) const {
  auto object = Value(At(place)).Object();
  if (!object) Raise(kObjectNotSet);
  return object;
}

std::string EventArguments::Text(std::size_t place) const {
  return Value(At(place)).Text();
}

bool EventArguments::Flag(std::size_t place) const {
  return ReferredFlag(At(place)) != VARIANT_FALSE;
}

void EventArguments::SetFlag(std::size_t place, bool value) {
  ReferredFlag(At(place)) = value ? VARIANT_TRUE : VARIANT_FALSE;
}

std::shared_ptr<void> Subscribe(IUnknown* source, const IID& events, EventHandler handler) {
  return std::make_shared<Connection>(source, events, std::move(handler));
}

}  // namespace corvessa::com
