#include "windows/addin/addin_host.h"

#include "base/guard.h"
#include "system/process.h"
#include "windows/addin/send_net.h"
#include "windows/engine/com_engine.h"

namespace corvessa::windows {

std::shared_ptr<AddInHost> AddInHost::Shared() {
  static std::weak_ptr<AddInHost> living;
  auto host = living.lock();
  if (!host) host.reset(new AddInHost());
  living = host;
  return host;
}

AddInHost::AddInHost() : engine_(CreateComEngineFactory()) {
  system::LockSecrets();
  platform::InstallHost({cdo_, clipboard_, clock_, *engine_, files_, inet_, pictures_, redemption_,
                         registry_, shell_, ui_, ReadProductInfo(), &sends_, &mime_});
  connect_ = std::make_unique<corvessa::Connect>();
}

AddInHost::~AddInHost() {
  connect_.reset();
  platform::RemoveHost();
}

void AddInHost::Connect(DispatchPtr application) noexcept {
  Guarded("Connect::AddinInstance_OnConnection - ", [&] {
    connect_->AddinInstance_OnConnection(
        WithSendNet(WrapApplication(std::move(application)), sends_));
  });
}

void AddInHost::Disconnect() noexcept {
  Ignoring([&] { connect_->AddinInstance_OnDisconnection(); });
}

}  // namespace corvessa::windows
