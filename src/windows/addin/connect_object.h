#pragma once

#include <memory>

#include "idl/corvessa_pro_ol.h"
#include "windows/com/object.h"

namespace corvessa::windows {

class AddInHost;

/// "CorvessaPro_OL.Connect", the class that Outlook creates. Outlook sees no failure: an add-in
/// that fails would be switched off, and mail would leave unprotected.
class ConnectObject final : public com::Object<ConnectObject, com::Dual<IDTExtensibility2>> {
 public:
  static constexpr auto kProgId = L"CorvessaPro_OL.Connect";

  ConnectObject() = default;

  HRESULT STDMETHODCALLTYPE OnConnection(IDispatch* application, LONG connect_mode,
                                         IDispatch* add_in, SAFEARRAY** custom) noexcept override;
  HRESULT STDMETHODCALLTYPE OnDisconnection(LONG remove_mode, SAFEARRAY** custom) noexcept override;
  HRESULT STDMETHODCALLTYPE OnAddInsUpdate(SAFEARRAY** custom) noexcept override;
  HRESULT STDMETHODCALLTYPE OnStartupComplete(SAFEARRAY** custom) noexcept override;
  HRESULT STDMETHODCALLTYPE OnBeginShutdown(SAFEARRAY** custom) noexcept override;

 private:
  friend Object;
  /// Also without a disconnection.
  ~ConnectObject() { Disconnect(); }
  void Disconnect() noexcept;

  std::shared_ptr<AddInHost> host_;
};

}  // namespace corvessa::windows
