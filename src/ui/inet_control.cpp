#include "ui/inet_control.h"

#include "platform/host.h"
#include "platform/inet.h"

namespace corvessa {

std::string Inet::OpenURL(std::string_view url) const {
  return platform::Host().inet.OpenURL(url);
}

}  // namespace corvessa
