#pragma once

#include <string>
#include <string_view>

namespace corvessa::desk {

/// Exit codes of the program.
enum class Outcome {
  kDone = 0,
  /// The add-in refused, failed to decrypt or found a bad signature.
  kRefused = 1,
  kWrongUse = 2,
  /// A file, the profile, the disk, the network.
  kEnvironment = 3,
};

/// Why a command ends early: one line for the user, without a full stop. (An Error that reaches the
/// program's end counts as one of the environment.)
struct Failure {
  Outcome outcome;
  std::string message;
};

/// A sentence from elsewhere as a line of the program, or the end of one.
inline std::string WithoutFullStop(std::string text) {
  if (text.ends_with('.')) text.pop_back();
  return text;
}

[[noreturn]] inline void Fail(Outcome outcome, std::string_view message) {
  throw Failure{outcome, std::string(message)};
}

}  // namespace corvessa::desk
