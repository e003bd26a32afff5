#include "windows/engine/account_object.h"

#include <string>

#include "windows/com/bstr.h"
#include "windows/com/errors.h"

namespace corvessa::windows {
namespace {

constexpr auto kPropertyName = L"m_sAlias";
constexpr DISPID kPropertyId = 1;

class AccountObject final : public IDispatch {
 public:
  explicit AccountObject(std::string address) : address_(std::move(address)) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(const IID& iid, void** object) noexcept override {
    if (!object) return E_POINTER;
    const bool is_ours = iid == IID_IUnknown || iid == IID_IDispatch;
    *object = is_ours ? this : nullptr;
    if (!is_ours) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() noexcept override {
    return static_cast<ULONG>(InterlockedIncrement(&references_));
  }
  ULONG STDMETHODCALLTYPE Release() noexcept override {
    const LONG left = InterlockedDecrement(&references_);
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
  }

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) noexcept override {
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) noexcept override {
    *info = nullptr;
    return DISP_E_BADINDEX;
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(const IID&, LPOLESTR* names, UINT count, LCID,
                                          DISPID* ids) noexcept override {
    const bool is_known = count == 1 && lstrcmpiW(names[0], kPropertyName) == 0;
    ids[0] = is_known ? kPropertyId : DISPID_UNKNOWN;
    return is_known ? S_OK : DISP_E_UNKNOWNNAME;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, const IID& iid, LCID, WORD flags, DISPPARAMS*,
                                   VARIANT* result, EXCEPINFO*, UINT*) noexcept override {
    if (id != kPropertyId || (flags & DISPATCH_PROPERTYGET) == 0) return DISP_E_MEMBERNOTFOUND;
    return com::Bordered(iid, L"", [&] {
      result->bstrVal = com::Bstr(address_).Release();
      result->vt = VT_BSTR;
    });
  }

 private:
  LONG references_ = 1;
  std::string address_;
};

}  // namespace

Microsoft::WRL::ComPtr<IDispatch> AccountObjectOf(const platform::EngineAccount* account) {
  Microsoft::WRL::ComPtr<IDispatch> object;
  // Not Attach, which counts another reference in this compiler's library.
  if (account) *object.GetAddressOf() = new AccountObject(account->address);
  return object;
}

}  // namespace corvessa::windows
