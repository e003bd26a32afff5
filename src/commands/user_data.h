#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "engine/engine.h"
#include "platform/registry.h"

namespace corvessa {

/// A user's key rings and settings, open for one command.
class UserData {
 public:
  virtual ~UserData() = default;
  virtual platform::Registry& Registry() = 0;
  /// Has what was changed in the registry on disk when it returns. Throws Error when that fails.
  virtual void SaveRegistry() = 0;
  virtual std::filesystem::path KeysFolder() const = 0;
  /// The engine with the edition's key servers. Throws Error if the rings cannot be opened.
  virtual std::shared_ptr<engine::OpenPgpEngine> OpenEngine() = 0;
};

/// A text that the installed edition fixes; empty if it is missing.
std::string EditionText(platform::Registry& registry, std::string_view name);

/// Gives an engine the edition's key servers, for commands that run without the add-in.
void ConfigureKeyServers(platform::IEngine& engine, platform::Registry& registry);

}  // namespace corvessa
