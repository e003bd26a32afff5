#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "engine/key_upkeep.h"
#include "platform/engine.h"

namespace corvessa::engine {

/// What a host tells the engine about itself.
struct EngineConfig {
  /// Where the key rings are kept; made when it is missing.
  std::filesystem::path rings_folder;
  /// Maps addresses and domains to additional decryption addresses; need not exist. Each line is
  /// "address or domain: address, address…", empty or a comment behind #.
  std::filesystem::path adk_file;
  /// Told what is wrong with that file, of which the add-in learns a status only; may be empty.
  std::function<void(std::string_view)> on_bad_adk_file = {};
  /// The local file that a path of the add-in means.
  std::function<std::filesystem::path(std::string_view)> local_path;
  /// A fresh temporary file's path in the add-in's terms.
  std::function<std::string()> new_temporary_path;
  /// What it gives is held while a message of so many bytes is decrypted, which its sender can have
  /// made to take for ever; the engine cannot break off. None is needed.
  std::function<std::shared_ptr<void>(std::uint64_t)> watch_decryption;
  /// How long key servers may take to answer one operation, all of them together.
  std::chrono::milliseconds key_server_time = std::chrono::seconds(10);
};

/// The engine as the add-in sees it, with the upkeep of its keys beside it. One thread uses it.
class OpenPgpEngine : public platform::IEngine, public KeyUpkeep {};

/// Throws Error (429) when the key rings cannot be opened.
std::shared_ptr<OpenPgpEngine> CreateOpenPgpEngine(EngineConfig config);

/// Makes engines of this configuration for the add-in.
std::unique_ptr<platform::EngineFactory> CreateEngineFactory(EngineConfig config);

platform::EngineStringVectorPtr CreateStringVector();

/// Why the rings in the folder cannot be read, or why keys may be missing from them (one is
/// damaged, empty or missing), in one line for the user; empty when they are whole. What is damaged
/// is noticed by an engine that reads the rings, so ask after its work.
std::string FindKeyTrouble(const std::filesystem::path& rings_folder);

}  // namespace corvessa::engine
