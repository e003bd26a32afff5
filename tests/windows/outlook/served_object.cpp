#include "windows/outlook/served_object.h"

#include <algorithm>
#include <cctype>
#include <ocidl.h>
#include <olectl.h>

#include "base/error.h"
#include "win32/utf16.h"
#include "windows/com/bstr.h"
#include "windows/com/errors.h"

namespace corvessa::testing {
namespace {

using com::Variant;
using Microsoft::WRL::ComPtr;

/// {6F1B0C52-…}: answered by our own objects only.
constexpr IID kServed = {
    0x6F1B0C52, 0x3D5E, 0x4B7A, {0x9C, 0x31, 0x0A, 0x77, 0x5E, 0x42, 0x19, 0xD4}};

/// Numbers of members differ between types, as Outlook's do.
DISPID FirstIdOf(const std::string& type) {
  static std::map<std::string, DISPID> known;
  return known.emplace(type, static_cast<DISPID>(1000 + 100 * known.size())).first->second;
}

/// Outlook's default interfaces have the name of their class behind an underscore.
ComPtr<ITypeInfo> TypeInfoOf(const std::string& type) {
  static ComPtr<ICreateTypeLib2> library;
  static std::map<std::string, ComPtr<ITypeInfo>> known;
  if (!library) com::Check(CreateTypeLib2(SYS_WIN32, L"none", &library));
  auto& info = known[type];
  if (info) return info;
  std::wstring name = L"_" + win32::ShownUtf16(type);
  ComPtr<ICreateTypeInfo> maker;
  com::Check(library->CreateTypeInfo(name.data(), TKIND_DISPATCH, &maker));
  com::Check(maker.As(&info));
  return info;
}

bool Fits(char parameter, const VARIANT& value) {
  switch (std::tolower(parameter)) {
    case 's':
      return value.vt == VT_BSTR;
    case 'n':
      return value.vt == VT_I4 || value.vt == VT_I2;
    case 'b':
      return value.vt == VT_BOOL;
    case 'o':
      return value.vt == VT_DISPATCH && value.pdispVal;
    default:
      return value.vt == VT_BSTR || value.vt == VT_I4 || value.vt == VT_I2;
  }
}

class Served final : public IDispatch, public IConnectionPointContainer, public IConnectionPoint {
 public:
  Served(std::string type, std::vector<Member> members, Events events, std::shared_ptr<void> model)
      : type_(std::move(type)),
        members_(std::move(members)),
        events_(std::move(events)),
        model_(std::move(model)) {
    ++TheLedger().objects;
    ++TheLedger().references;
  }

  HRESULT STDMETHODCALLTYPE QueryInterface(const IID& iid, void** object) noexcept override {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == kServed) {
      *object = static_cast<IDispatch*>(this);
    } else if (events_.subscribe && iid == IID_IConnectionPointContainer) {
      *object = static_cast<IConnectionPointContainer*>(this);
    } else {
      return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() noexcept override {
    InterlockedIncrement(&TheLedger().references);
    return static_cast<ULONG>(InterlockedIncrement(&references_));
  }
  ULONG STDMETHODCALLTYPE Release() noexcept override {
    InterlockedDecrement(&TheLedger().references);
    const LONG left = InterlockedDecrement(&references_);
    if (left == 0) {
      --TheLedger().objects;
      delete this;
    }
    return static_cast<ULONG>(left);
  }

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) noexcept override {
    *count = 1;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) noexcept override {
    return com::Bordered(IID_NULL, L"", [&] { *info = TypeInfoOf(type_).Detach(); });
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(const IID&, LPOLESTR* names, UINT count, LCID,
                                          DISPID* ids) noexcept override {
    if (GetCurrentThreadId() != TheLedger().thread) return RPC_E_WRONG_THREAD;
    const std::string name = win32::ShownUtf8(names[0]);
    const auto found =
        std::ranges::find_if(members_, [&](const Member& member) { return member.name == name; });
    if (count != 1 || found == members_.end()) return DISP_E_UNKNOWNNAME;
    ids[0] = FirstIdOf(type_) + static_cast<DISPID>(found - members_.begin());
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, const IID&, LCID, WORD kind, DISPPARAMS* parameters,
                                   VARIANT* result, EXCEPINFO* exception, UINT*) noexcept override {
    if (GetCurrentThreadId() != TheLedger().thread) return RPC_E_WRONG_THREAD;
    const auto place = static_cast<std::size_t>(id - FirstIdOf(type_));
    if (place >= members_.size()) return DISP_E_MEMBERNOTFOUND;
    const auto member = std::ranges::find_if(members_, [&](const Member& one) {
      return one.name == members_[place].name && (one.kind & kind);
    });
    if (member == members_.end()) return DISP_E_MEMBERNOTFOUND;
    const HRESULT planned = TheLedger().Note(type_ + "." + member->name);
    if (FAILED(planned)) return planned;
    // The call may let the add-in give this object up.
    const ComPtr<IDispatch> held(this);
    const auto run = member->run;
    HRESULT answer = S_OK;
    const HRESULT done = com::Bordered(IID_NULL, L"", [&] {
      std::vector<Variant> values;
      answer = Take(member->parameters, *parameters, values);
      if (FAILED(answer)) return;
      try {
        Variant value = run(Arguments(std::move(values)));
        if (result) com::Check(VariantCopy(result, const_cast<VARIANT*>(&value.Get())));
      } catch (const Error& error) {
        exception->scode = com::HresultOf(error);
        exception->bstrDescription = com::Bstr::ForMessage(error.description).Release();
        answer = DISP_E_EXCEPTION;
      }
    });
    return FAILED(done) ? done : answer;
  }

  HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints**) noexcept override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE FindConnectionPoint(const IID& iid,
                                                IConnectionPoint** point) noexcept override {
    *point = nullptr;
    if (iid != events_.iid) return CONNECT_E_NOCONNECTION;
    AddRef();
    *point = this;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* iid) noexcept override {
    *iid = events_.iid;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE
  GetConnectionPointContainer(IConnectionPointContainer** container) noexcept override {
    AddRef();
    *container = this;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) noexcept override {
    const HRESULT planned = TheLedger().Note(type_ + ".Advise");
    if (FAILED(planned)) return planned;
    DispatchPtr taken;
    // Outlook asks for the event set itself.
    if (FAILED(sink->QueryInterface(events_.iid, reinterpret_cast<void**>(taken.GetAddressOf())))) {
      return CONNECT_E_CANNOTCONNECT;
    }
    return com::Bordered(IID_NULL, L"", [&] {
      subscriptions_[++last_cookie_] = events_.subscribe(std::move(taken));
      *cookie = last_cookie_;
    });
  }
  HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) noexcept override {
    return subscriptions_.erase(cookie) > 0 ? S_OK : CONNECT_E_NOCONNECTION;
  }
  HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections**) noexcept override {
    return E_NOTIMPL;
  }

  const std::shared_ptr<void>& Model() const { return model_; }

 private:
  static HRESULT Take(const std::string& expected, const DISPPARAMS& given,
                      std::vector<Variant>& values) {
    if (given.cArgs > expected.size()) return DISP_E_BADPARAMCOUNT;
    for (std::size_t i = 0; i < expected.size(); ++i) {
      Variant value;
      if (i < given.cArgs) {
        com::Check(VariantCopyInd(value.Receive(), &given.rgvarg[given.cArgs - 1 - i]));
      }
      const VARTYPE type = value.Get().vt;
      const bool is_missing = type == VT_ERROR || type == VT_EMPTY;
      const bool may_miss = std::isupper(expected[i]) != 0;
      if (is_missing && !may_miss) return DISP_E_PARAMNOTOPTIONAL;
      if (!is_missing && !Fits(expected[i], value.Get())) return DISP_E_TYPEMISMATCH;
      values.push_back(std::move(value));
    }
    return S_OK;
  }

  LONG references_ = 1;
  std::string type_;
  std::vector<Member> members_;
  Events events_;
  std::shared_ptr<void> model_;
  std::map<DWORD, platform::Subscription> subscriptions_;
  DWORD last_cookie_ = 0;
};

}  // namespace

HRESULT Ledger::Note(const std::string& call) {
  ++calls[call];
  if (fails_after == 0 || --fails_after > 0) return S_OK;
  if (--failures > 0) fails_after = 1;
  failed = call;
  return failure;
}

Ledger& TheLedger() {
  static Ledger ledger;
  return ledger;
}

bool Arguments::Has(std::size_t place) const {
  const VARTYPE type = values_[place].Get().vt;
  return type != VT_ERROR && type != VT_EMPTY;
}

bool Arguments::Flag(std::size_t place, bool otherwise) const {
  return Has(place) ? values_[place].Flag() : otherwise;
}

DispatchPtr Serve(std::string type, std::vector<Member> members, Events events,
                  std::shared_ptr<void> model) {
  DispatchPtr object;
  *object.GetAddressOf() =
      new Served(std::move(type), std::move(members), std::move(events), std::move(model));
  return object;
}

std::shared_ptr<void> ModelOf(IDispatch* object) {
  DispatchPtr served;
  if (!object ||
      FAILED(object->QueryInterface(kServed, reinterpret_cast<void**>(served.GetAddressOf())))) {
    return nullptr;
  }
  return static_cast<Served*>(served.Get())->Model();
}

void Fire(const DispatchPtr& sink, DISPID event, std::vector<VARIANT> arguments) {
  const DispatchPtr held = sink;
  std::ranges::reverse(arguments);
  DISPPARAMS parameters = {arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
  Variant ignored;
  const HRESULT answer = held->Invoke(event, IID_NULL, LOCALE_SYSTEM_DEFAULT, DISPATCH_METHOD,
                                      &parameters, ignored.Receive(), nullptr, nullptr);
  if (FAILED(answer)) ++TheLedger().errors;
}

void Fire(const DispatchPtr& sink, DISPID event, std::vector<VARIANT> arguments, bool& cancel) {
  VARIANT_BOOL flag = cancel ? VARIANT_TRUE : VARIANT_FALSE;
  VARIANT by_reference = {};
  by_reference.vt = VT_BYREF | VT_BOOL;
  by_reference.pboolVal = &flag;
  arguments.push_back(by_reference);
  Fire(sink, event, std::move(arguments));
  cancel = flag != VARIANT_FALSE;
}

}  // namespace corvessa::testing
