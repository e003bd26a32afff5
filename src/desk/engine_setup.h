#pragma once

#include <memory>

#include "engine/engine.h"

namespace corvessa::desk {

class Profile;

/// The engine on a profile's rings.
engine::EngineConfig EngineSetup(Profile& profile);

/// The same engine as the add-in's, with the servers of the profile's settings, for the upkeep of
/// keys while the add-in is not there. Throws Error when the rings cannot be opened.
std::shared_ptr<engine::OpenPgpEngine> OpenEngine(Profile& profile);

}  // namespace corvessa::desk
