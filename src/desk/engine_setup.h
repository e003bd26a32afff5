#pragma once

#include <memory>

#include "engine/engine.h"

namespace corvessa::desk {

class Profile;

/// The engine's configuration for a profile.
engine::EngineConfig EngineSetup(Profile& profile);

/// The add-in's engine with the profile's key servers, for key commands that run without the
/// add-in. Throws Error if the rings cannot be opened.
std::shared_ptr<engine::OpenPgpEngine> OpenEngine(Profile& profile);

}  // namespace corvessa::desk
