#include "windows/engine/account_object.h"

#include <string>

#include "windows/com/bstr.h"
#include "windows/com/errors.h"
#include "windows/com/single_interface.h"

namespace corvessa::windows {
namespace {

constexpr auto kPropertyName = L"m_sAlias";
constexpr DISPID kPropertyId = 1;

class AccountObject final : public com::SingleInterface<AccountObject, IDispatch> {
 public:
  explicit AccountObject(std::string address) : address_(std::move(address)) {}

  static bool Answers(const IID& iid) { return iid == IID_IDispatch; }

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
