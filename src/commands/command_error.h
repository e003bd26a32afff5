#pragma once

#include <string>

namespace corvessa {

/// The exit codes of the programs.
enum class Outcome {
  kDone = 0,
  /// The add-in or the engine refused, could not decrypt or found a bad signature.
  kRefused = 1,
  kWrongUse = 2,
  /// A file, the user's data, the disk or the network failed.
  kEnvironment = 3,
};

/// Why a command fails: one line for the user, without a full stop. An Error that reaches the end
/// of a command counts as kEnvironment.
struct CommandError {
  Outcome outcome;
  std::string message;
};

/// Makes a sentence from elsewhere part of such a line.
inline std::string WithoutFullStop(std::string text) {
  if (text.ends_with('.')) text.pop_back();
  return text;
}

}  // namespace corvessa
