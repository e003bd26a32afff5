#pragma once

#include <filesystem>
#include <memory>

#include "engine/engine.h"

/// The engine of the user of this computer: what corvessa_engine.dll and corvessa-key.exe share.
namespace corvessa::windows {

/// The user's folder for the data of this product, which moves with the user from computer to
/// computer. Throws Error when the system knows none.
std::filesystem::path DataFolder();

/// Key rings in the data folder, and paths of Windows as they are.
engine::EngineConfig UserEngineConfig();

/// Throws Error (429) when the key rings cannot be opened.
std::shared_ptr<engine::OpenPgpEngine> OpenUserEngine();

}  // namespace corvessa::windows
