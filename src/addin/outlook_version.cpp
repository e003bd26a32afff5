#include "addin/outlook_version.h"

#include "base/text.h"

namespace corvessa {
namespace {

double VersionNumber(platform::Application& application) {
  return LeadingNumber(application.Version());
}

}  // namespace

bool IsCompatibleOutlookVersion(platform::Application& application) {
  const double version = RoundHalfEven(VersionNumber(application));
  return version >= 9 && version <= 11;
}

bool IsOutlook2000(platform::Application& application) {
  return VersionNumber(application) == 9;
}
bool IsOutlook2002(platform::Application& application) {
  return VersionNumber(application) == 10;
}
bool IsOutlook2003(platform::Application& application) {
  return VersionNumber(application) == 11;
}

}  // namespace corvessa
