#include "platform/host.h"

#include <optional>

#include "base/error.h"
#include "platform/observer.h"

namespace corvessa::platform {
namespace {

std::optional<HostServices>& Installed() {
  static std::optional<HostServices> services;
  return services;
}

}  // namespace

void InstallHost(const HostServices& services) {
  if (Installed()) Raise(kInvalidArgument, "A host is installed already");
  Installed().emplace(services);
}

void RemoveHost() noexcept {
  Installed().reset();
}

const HostServices& Host() {
  if (!Installed()) Raise(kObjectNotSet);
  return *Installed();
}

Observer& HostObserver() {
  static Observer none;
  return Host().observer ? *Host().observer : none;
}

}  // namespace corvessa::platform
