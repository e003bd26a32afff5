#include "engine/profile.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <ostream>

namespace corvessa::engine {

Profile::Profile() : engine(CreateOpenPgpEngine(Config())) {}

EngineConfig Profile::Config() const {
  EngineConfig config;
  config.rings_folder = folder / "keys";
  config.adk_file = folder / "adks.txt";
  config.key_server_time = std::chrono::milliseconds(1500);
  config.local_path = [](std::string_view path) { return std::filesystem::path(path); };
  config.new_temporary_path = [base = folder / "temporary", count = 0]() mutable {
    return base.string() + std::to_string(++count) + ".sig";
  };
  return config;
}

std::shared_ptr<OpenPgpEngine> Profile::Reopened() const {
  return CreateOpenPgpEngine(Config());
}

std::string Profile::Generate(const std::string& address, const std::string& passphrase) {
  KeyInfo made;
  EXPECT_EQ(engine->GenerateKey("", address, passphrase, made), 0) << engine->GetEngineLastError();
  return made.fingerprint;
}

void Profile::Import(std::string_view keys) {
  std::vector<KeyInfo> imported;
  EXPECT_EQ(engine->ImportKeys(keys, imported), 0) << engine->GetEngineLastError();
}

std::string Profile::PublicKeys(std::string_view who) const {
  std::string keys;
  EXPECT_EQ(engine->ExportPublicKeys(who, keys), 0) << engine->GetEngineLastError();
  return keys;
}

std::string Profile::SecretKeys(std::string_view who) const {
  std::string keys;
  EXPECT_EQ(engine->ExportSecretKeys(who, keys), 0) << engine->GetEngineLastError();
  return keys;
}

std::string Profile::Write(const std::string& name, std::string_view content) const {
  std::ofstream(folder / name, std::ios::binary) << content;
  return (folder / name).string();
}

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<std::string> Names(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  std::ranges::sort(names);
  return names;
}

void PrintTo(const Verified& verified, std::ostream* stream) {
  *stream << verified.status << " signers " << ::testing::PrintToString(verified.signers)
          << " unknown " << ::testing::PrintToString(verified.unknown_signers) << " content "
          << ::testing::PrintToString(verified.content);
}

Verified VerifyText(platform::IEngine& engine, std::string_view text) {
  Verified verified;
  testing::ScriptedStringVector signers;
  testing::ScriptedStringVector unknown;
  verified.status = engine.VerifyText(text, signers, unknown, verified.content);
  verified.signers = signers.items;
  verified.unknown_signers = unknown.items;
  return verified;
}

Verified VerifyFile(platform::IEngine& engine, std::string_view path, std::string_view signature) {
  Verified verified;
  testing::ScriptedStringVector signers;
  testing::ScriptedStringVector unknown;
  verified.status = engine.VerifyFile(path, signature, signers, unknown);
  verified.signers = signers.items;
  verified.unknown_signers = unknown.items;
  return verified;
}

}  // namespace corvessa::engine
