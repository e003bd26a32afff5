#include "windows/addin/connect_object.h"

#include <utility>

#include "base/guard.h"
#include "windows/addin/addin_host.h"
#include "windows/com/entry.h"

namespace corvessa::windows {

HRESULT ConnectObject::OnConnection(IDispatch* application, LONG /*connect_mode*/,
                                    IDispatch* /*add_in*/, SAFEARRAY** /*custom*/) noexcept {
  const com::Entry entry;
  // The connection may end while it is being made.
  Ignoring([&] {
    if (host_ || !application) return;
    host_ = AddInHost::Shared();
    const auto held = host_;
    held->Connect(application);
  });
  return S_OK;
}

HRESULT ConnectObject::OnDisconnection(LONG /*remove_mode*/, SAFEARRAY** /*custom*/) noexcept {
  Disconnect();
  return S_OK;
}

void ConnectObject::Disconnect() noexcept {
  const com::Entry entry;
  const auto held = std::exchange(host_, nullptr);
  if (!held) return;
  held->Disconnect();
  // Routines that wait for a dialog still need it.
  Ignoring([&] { com::RunWhenLeft([held] {}); });
}

HRESULT ConnectObject::OnAddInsUpdate(SAFEARRAY** /*custom*/) noexcept {
  return S_OK;
}

HRESULT ConnectObject::OnStartupComplete(SAFEARRAY** /*custom*/) noexcept {
  return S_OK;
}

HRESULT ConnectObject::OnBeginShutdown(SAFEARRAY** /*custom*/) noexcept {
  return S_OK;
}

}  // namespace corvessa::windows
