#pragma once

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"
#include "engine/engine.h"
#include "support/scripted_engine.h"
#include "support/temp_folder.h"

namespace corvessa::engine {

using testing::ContentOf;

/// Addresses, as one makes a vector of recipients.
using To = testing::ScriptedStringVector;
/// An operation's status and text; it fails the test for a failure that touched its text.
using Outcome = std::pair<platform::EngineStatus, std::string>;

/// An engine and the upkeep of its keys.
struct Opened {
  std::shared_ptr<platform::IEngine> engine;
  std::shared_ptr<KeyUpkeep> upkeep;
};

inline Opened OpenDirectly(EngineConfig config) {
  const auto opened = CreateOpenPgpEngine(std::move(config));
  return {opened, opened};
}

/// How profiles open their engine. The component's tests go through COM instead, which carries
/// characters rather than any bytes and not which addresses an import has added.
inline Opened (*open_engine)(EngineConfig) = OpenDirectly;
inline bool is_over_com = false;

/// An engine over a fresh profile whose paths mean themselves.
class Profile {
 public:
  explicit Profile(std::string_view lookup_servers = {}) {
    const Opened opened = Reopened();
    engine = opened.engine;
    upkeep = opened.upkeep;
    engine->SetOption("lookupKeyservers", lookup_servers);
  }

  /// A second engine over the same rings, as another session would open them.
  Opened Reopened() { return open_engine(Config()); }
  /// The same in this process, for texts of any bytes, which COM does not carry.
  Opened ReopenedDirectly() { return OpenDirectly(Config()); }
  /// Makes a key whose passphrase is `passphrase` and unlocks nothing. Returns its fingerprint.
  std::string Generate(const std::string& address, const std::string& passphrase = "secret") {
    KeyInfo made;
    EXPECT_EQ(upkeep->GenerateKey("", address, passphrase, made), 0)
        << engine->GetEngineLastError();
    return made.fingerprint;
  }
  /// Unlocks it with the passphrase `secret`.
  void Unlock(std::string_view address) {
    EXPECT_EQ(engine->AuthenticateAccount(address, "secret"), 0) << engine->GetEngineLastError();
  }
  void Import(std::string_view keys, std::string_view passphrase = {}) {
    EXPECT_EQ(ImportStatus(keys, passphrase), 0) << engine->GetEngineLastError();
  }
  /// With the passphrase for keys that have to prove themselves; none when it is empty.
  platform::EngineStatus ImportStatus(std::string_view keys, std::string_view passphrase = {}) {
    std::vector<KeyInfo> imported;
    const auto ask = [&](const std::string&, const std::vector<std::string>&) {
      return passphrase.empty() ? std::nullopt : std::optional<SecretString>(passphrase);
    };
    return upkeep->ImportKeys(keys, ask, imported);
  }
  std::string PublicKeys(std::string_view who) const {
    std::string keys;
    EXPECT_EQ(upkeep->ExportPublicKeys(who, keys), 0) << engine->GetEngineLastError();
    return keys;
  }
  std::string SecretKeys(std::string_view who) const {
    std::string keys;
    EXPECT_EQ(upkeep->ExportSecretKeys(who, keys), 0) << engine->GetEngineLastError();
    return keys;
  }

  platform::EngineStatus QueryKeyPair(std::string_view address) {
    std::string text;
    return engine->QueryKeyPair(address, text);
  }
  Outcome EncryptText(const To& recipients, std::string_view text) {
    return OutcomeOf([&](std::string& out) { return engine->EncryptText(recipients, text, out); });
  }
  Outcome DecryptText(std::string_view armoured, const platform::EngineAccount* account = nullptr) {
    return OutcomeOf(
        [&](std::string& out) { return engine->DecryptTextEx(armoured, account, out); });
  }
  Outcome SignText(std::string_view text, const platform::EngineAccount* account = nullptr) {
    return OutcomeOf([&](std::string& out) { return engine->SignText(text, account, out); });
  }
  Outcome SignFile(std::string_view path) {
    return OutcomeOf([&](std::string& out) { return engine->SignFile(path, out); });
  }
  /// "1 [signers] [unknown signers] content": all that a verification answered.
  std::string VerifyText(std::string_view text) {
    To signers;
    To unknown;
    std::string content;
    const auto status = engine->VerifyText(text, signers, unknown, content);
    return std::to_string(status) + Listed(signers) + Listed(unknown) + " " + content;
  }
  std::string VerifyFile(std::string_view path, std::string_view signature) {
    To signers;
    To unknown;
    const auto status = engine->VerifyFile(path, signature, signers, unknown);
    return std::to_string(status) + Listed(signers) + Listed(unknown);
  }

  /// Writes a file into the profile's folder and returns its path.
  std::string Write(const std::string& name, std::string_view content) const {
    testing::WriteContent(folder / name, content);
    return (folder / name).string();
  }

  testing::TempFolder folder;
  /// The sizes of the messages that were decrypted, as the host is told them.
  std::vector<std::uint64_t> watched;
  /// False once nobody waits for the engine any more.
  bool may_commit = true;
  std::shared_ptr<platform::IEngine> engine;
  std::shared_ptr<KeyUpkeep> upkeep;

 private:
  static std::string Listed(const To& items) { return " [" + Join(items.items, ", ") + "]"; }
  /// Runs an operation on a text that it may touch only when it succeeds.
  template <class Operation>
  static Outcome OutcomeOf(Operation operation) {
    const std::string untouched = "untouched";
    std::string text = untouched;
    const platform::EngineStatus status = operation(text);
    if (status == 0) return {0, text};
    EXPECT_EQ(text, untouched);
    return {status, {}};
  }
  EngineConfig Config() {
    EngineConfig config;
    config.rings_folder = folder / "keys";
    config.adk_file = folder / "adks.txt";
    config.key_server_time = std::chrono::seconds(3);
    config.local_path = [](std::string_view path) { return std::filesystem::path(path); };
    config.new_temporary_path = [base = folder / "temporary", count = 0]() mutable {
      return base.string() + std::to_string(++count) + ".sig";
    };
    config.watch_decryption = [this](std::uint64_t size) {
      watched.push_back(size);
      return nullptr;
    };
    config.may_commit = [this] { return may_commit; };
    config.passphrase_work = 1U << 16;  // keys are made and opened for nearly every test
    return config;
  }
};

/// The names in a folder, sorted.
inline std::vector<std::string> Names(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  std::ranges::sort(names);
  return names;
}

}  // namespace corvessa::engine
