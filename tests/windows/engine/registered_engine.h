#pragma once

#include <memory>
#include <string>
#include <wrl/client.h>

#include "engine/engine.h"
#include "idl/engine.h"
#include "support/temp_folder.h"

namespace corvessa::windows {

/// The engine component as it is installed: registered on this machine, for a user whose folder of
/// application data is a fresh one.
class RegisteredEngine {
 public:
  RegisteredEngine();
  ~RegisteredEngine();
  RegisteredEngine(const RegisteredEngine&) = delete;
  RegisteredEngine& operator=(const RegisteredEngine&) = delete;

  /// An engine over the user's rings that is linked into this program, as the key tool has one.
  static std::shared_ptr<engine::OpenPgpEngine> OpenDirectly();
  /// Makes a key with the passphrase `secret`. Throws when that fails.
  static void Generate(const std::string& address);

  /// The folder of application data, also for files of a test.
  testing::TempFolder folder;
};

/// A path of the build as one of Windows.
std::wstring WindowsPath(const std::string& path);

/// The key upkeep of the component as the engine's own, for tests that serve both. A call that
/// fails throws Error.
std::shared_ptr<engine::KeyUpkeep> KeysOver(Microsoft::WRL::ComPtr<INimbraKeyUpkeep> component);

/// That of a fresh object of the registered component.
std::shared_ptr<engine::KeyUpkeep> RegisteredKeys();

}  // namespace corvessa::windows
