#include "addin/version.h"

#include "base/text.h"
#include "platform/host.h"

namespace corvessa {

Version RunningVersion() {
  const platform::ProductInfo& product = platform::Host().product;
  return {product.major_version, product.minor_version, product.revision};
}

std::string TextOf(const Version& version) {
  return Decimal(version.major) + "." + Decimal(version.minor) + "." + Decimal(version.revision);
}

}  // namespace corvessa
