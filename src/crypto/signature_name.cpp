#include "crypto/signature_name.h"

#include "base/text.h"

namespace corvessa {
namespace {

constexpr std::string_view kExtension = ".sig";

}  // namespace

bool HasSignatureName(std::string_view name) {
  return name.size() > kExtension.size() &&
         LCase(name.substr(name.size() - kExtension.size())) == kExtension;
}

std::string_view SignedName(std::string_view name) {
  return name.substr(0, name.size() - kExtension.size());
}

}  // namespace corvessa
