#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <string_view>

#include "engine/engine.h"
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

  /// The folder of application data, also for files of a test.
  testing::TempFolder folder;
};

/// A path of the build as one of Windows.
std::wstring WindowsPath(const std::string& path);

}  // namespace corvessa::windows
