#pragma once

#include <filesystem>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "engine/engine.h"
#include "support/scripted_engine.h"
#include "support/temp_folder.h"

namespace corvessa::engine {

/// An engine over a fresh profile whose paths mean themselves.
class Profile {
 public:
  Profile();

  /// A second engine over the same rings, as another session would open them.
  std::shared_ptr<OpenPgpEngine> Reopened() const;
  /// Makes a key whose passphrase is `passphrase` and unlocks nothing. Returns its fingerprint.
  std::string Generate(const std::string& address, const std::string& passphrase = "secret");
  void Import(std::string_view keys);
  std::string PublicKeys(std::string_view who) const;
  std::string SecretKeys(std::string_view who) const;
  /// Writes a file into the profile's folder and returns its path.
  std::string Write(const std::string& name, std::string_view content) const;

  testing::TempFolder folder;
  std::shared_ptr<OpenPgpEngine> engine;

 private:
  EngineConfig Config() const;
};

inline testing::ScriptedStringVector To(std::initializer_list<std::string> addresses) {
  return testing::ScriptedStringVector(addresses);
}

std::string ReadFile(const std::filesystem::path& path);
/// The names in a folder, sorted.
std::vector<std::string> Names(const std::filesystem::path& folder);

/// What VerifyText or VerifyFile answered, as one value to compare.
struct Verified {
  platform::EngineStatus status = 0;
  std::vector<std::string> signers;
  std::vector<std::string> unknown_signers;
  std::string content;
  bool operator==(const Verified&) const = default;
};
void PrintTo(const Verified& verified, std::ostream* stream);
Verified VerifyText(platform::IEngine& engine, std::string_view text);
Verified VerifyFile(platform::IEngine& engine, std::string_view path, std::string_view signature);

}  // namespace corvessa::engine
