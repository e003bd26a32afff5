#include "commands/user_data.h"

#include "settings/registry_values.h"

namespace corvessa {

std::string EditionText(platform::Registry& registry, std::string_view name) {
  const auto key = OpenKey(registry.LocalMachine(), kVersionKey);
  return key ? key->ReadString(name, kStringBufferBytes) : std::string();
}

void ConfigureKeyServers(platform::IEngine& engine, platform::Registry& registry) {
  engine.SetOption("lookupKeyservers", EditionText(registry, "EngineLookupServer"));
  engine.SetOption("updateKeyservers", EditionText(registry, "EngineUpdateServer"));
  engine.SetOption("customerID", EditionText(registry, "EngineCustomerID"));
}

}  // namespace corvessa
