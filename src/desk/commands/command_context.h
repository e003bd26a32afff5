#pragma once

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "desk/failure.h"
#include "desk/profile/profile.h"
#include "desk/terminal/answers.h"
#include "desk/terminal/terminal.h"

namespace corvessa::desk {

/// What all commands share: where results and complaints go and what was said on the command line.
struct CommandContext {
  std::ostream& out;
  std::ostream& messages;
  Terminal& terminal;

  std::filesystem::path profile_folder = {};
  std::vector<std::string> passphrases = {};
  std::vector<std::string> given_answers = {};
  Answers answers = {};
  /// --json was given.
  bool json = false;

  /// What the chosen command does once the whole command line has been read.
  std::function<Outcome()> run = {};
  bool has_written_json = false;
  bool has_blamed_disk = false;

  /// Opens the profile that was named, or the user's own.
  Profile OpenProfile() const;
  /// One line to the user.
  void Tell(std::string_view line) const;
  /// The one JSON object that --json asks for.
  void WriteJson(const nlohmann::json& report);
  /// The outcome to end with: a refusal that the disk is to blame for is one of the environment,
  /// and the user is told, because the add-in knows nothing of disks.
  Outcome Judge(Outcome outcome);
  /// Why the command has ended early: one line, and with --json an object (resultCode, error)
  /// unless one has been written.
  void TellFailure(Outcome outcome, std::string_view message);
};

}  // namespace corvessa::desk
