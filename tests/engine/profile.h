#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/engine.h"
#include "support/scripted_engine.h"
#include "support/temp_folder.h"

namespace corvessa::engine {

using testing::ContentOf;

/// Addresses, as one makes a vector of recipients.
using To = testing::ScriptedStringVector;
/// An operation's status and text; it fails the test for a failure that touched its text.
using Outcome = std::pair<platform::EngineStatus, std::string>;

/// An engine over a fresh profile whose paths mean themselves.
class Profile {
 public:
  explicit Profile(std::string_view lookup_servers = {});

  /// A second engine over the same rings, as another session would open them.
  std::shared_ptr<OpenPgpEngine> Reopened() const;
  /// Makes a key whose passphrase is `passphrase` and unlocks nothing. Returns its fingerprint.
  std::string Generate(const std::string& address, const std::string& passphrase = "secret");
  /// Unlocks it with the passphrase `secret`.
  void Unlock(std::string_view address);
  void Import(std::string_view keys);
  std::string PublicKeys(std::string_view who) const;
  std::string SecretKeys(std::string_view who) const;

  platform::EngineStatus QueryKeyPair(std::string_view address);
  Outcome EncryptText(const To& recipients, std::string_view text);
  Outcome DecryptText(std::string_view armoured, const platform::EngineAccount* account = nullptr);
  Outcome SignText(std::string_view text, const platform::EngineAccount* account = nullptr);
  Outcome SignFile(std::string_view path);
  /// "1 [signers] [unknown signers] content": all that a verification answered.
  std::string VerifyText(std::string_view text);
  std::string VerifyFile(std::string_view path, std::string_view signature);

  /// Writes a file into the profile's folder and returns its path.
  std::string Write(const std::string& name, std::string_view content) const;

  testing::TempFolder folder;
  std::shared_ptr<OpenPgpEngine> engine;

 private:
  EngineConfig Config() const;
};

/// The names in a folder, sorted.
std::vector<std::string> Names(const std::filesystem::path& folder);

}  // namespace corvessa::engine
