#include "engine/librnp_engine.h"

namespace corvessa::engine {

EngineStatus LibrnpEngine::SignFile(std::string_view path, std::string& signature_path) {
  (void)path;
  (void)signature_path;
  return kUnexpected;
}
EngineStatus LibrnpEngine::DecryptFileEx(std::string_view, const platform::EngineAccount*) {
  return kUnexpected;
}
EngineStatus LibrnpEngine::VerifyFile(std::string_view, std::string_view,
                                      platform::IEngineStringVector&,
                                      platform::IEngineStringVector&) {
  return kUnexpected;
}
EngineStatus LibrnpEngine::EncryptFileToFile(const platform::IEngineStringVector&, std::string_view,
                                             std::string_view) {
  return kUnexpected;
}
EngineStatus LibrnpEngine::GetAddressADKs(std::string_view, platform::IEngineStringVector&) {
  return kDone;
}
EngineStatus LibrnpEngine::GetRecipientADKs(std::string_view, platform::IEngineStringVector&) {
  return kDone;
}

}  // namespace corvessa::engine
