#pragma once

#include <windows.h>

#include "commands/passphrases.h"

namespace corvessa::windows {

/// The user's console.
class Console final : public UserPrompt {
 public:
  /// Standard input and standard error, so that standard output is free for results. A user is
  /// there if both are consoles.
  Console();

  bool IsThere() const override { return is_there_; }
  /// Also aborted by Ctrl+Z at the start of the line.
  SecretResult ReadSecret(std::string_view prompt, SecretString& secret) override;
  std::optional<std::string> ReadLine(std::string_view prompt) override;

  /// The width of standard output's window; kUnlimitedColumns if it is not a console.
  static int OutputColumns();

 private:
  HANDLE input_;
  HANDLE output_;
  bool is_there_;
};

}  // namespace corvessa::windows
