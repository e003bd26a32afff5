#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <string>

#include "system/files.h"

namespace corvessa::system {

namespace fs = std::filesystem;

/// Only the owner (and the system itself) may use it. Implemented for each system.
bool IsPrivate(const fs::path& entry);

/// Gives everybody the right to read it. Implemented for each system.
void Publish(const fs::path& file);

/// Makes a symbolic link to a folder beside it. Implemented for each system.
void LinkFolder(const fs::path& folder, const fs::path& link);

/// A folder that vanishes with all that is in it.
class InFolder : public testing::Test {
 protected:
  ~InFolder() override {
    RemoveEntries(folder_, [](std::string_view) { return true; });
    std::error_code ignored;
    fs::remove(folder_, ignored);
  }

  fs::path Path(const char8_t* name) const { return folder_ / name; }

  std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_)) {
      names.insert(PathText(entry.path().filename()));
    }
    return names;
  }

  static void Write(const fs::path& path, std::string_view content) {
    AtomicFile file(path);
    file.Write(content);
    file.Commit();
  }

  static std::string Read(const fs::path& path) { return File::OpenForReading(path).ReadAll(); }

  fs::path folder_ = MakeTemporaryFolder();
};

/// The code of what an action throws; std::errc() when it throws nothing.
template <typename Action>
std::error_code FailureOf(Action action) {
  try {
    action();
  } catch (const std::system_error& error) {
    return error.code();
  }
  return {};
}

}  // namespace corvessa::system
