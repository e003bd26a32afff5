#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "commands/output_style.h"
#include "commands/passphrases.h"
#include "desk/terminal/signals.h"

namespace corvessa::desk {

/// The prefix of every line to the user.
inline constexpr std::string_view kProgram = "corvessa-desk";

/// The user's terminal: reads lines and passphrases, shows boxes and one redrawn status line.
/// Without a user (`is_there` false) nothing is drawn, but lines are still read. Reads byte by
/// byte, so that the rest of the input is left for other readers.
///
/// A caught signal (CaughtSignals) ends the input: the keyboard's interrupt only for the current
/// question, the others for good.
class Terminal final : public UserPrompt {
 public:
  /// While one lives, the user is being asked something and no status line is drawn. May be nested.
  class Question {
   public:
    explicit Question(Terminal& terminal) : terminal_(terminal) { ++terminal_.open_questions_; }
    ~Question() { --terminal_.open_questions_; }
    Question(const Question&) = delete;
    Question& operator=(const Question&) = delete;

   private:
    Terminal& terminal_;
  };

  /// The descriptors stay the caller's.
  Terminal(int input, int output, bool is_there);
  /// Standard input and standard error, so that standard output is free for results. A user is
  /// there if both are terminals.
  static Terminal Standard();

  bool IsThere() const override { return is_there_; }
  int Input() const { return input_; }
  int Output() const { return output_; }
  /// The width of the window; 80 if unknown.
  int Columns() const;
  /// The width of standard output's window; kUnlimitedColumns if it is not a terminal.
  static int OutputColumns();

  /// Signs and colours if standard output is a terminal; no colours if NO_COLOR is set or the
  /// terminal has none.
  static OutputStyle StyleOfOutput();
  /// Whether standard output is a pipe that nobody reads any more.
  static bool IsOutputClosed();

  /// Clears the status line first. Writes nothing without a user.
  void Write(std::string_view text);
  /// Redraws the status line, cut to the width; not while a question is open.
  void ShowStatus(std::string_view text);
  void ClearStatus();

  /// Without the line break; nothing at the end of the input.
  std::optional<std::string> ReadLine(std::string_view prompt) override;
  /// Asks again after the process was stopped.
  SecretResult ReadSecret(std::string_view prompt, SecretString& secret) override;
  /// Waits for a byte; -1 at the end of the input.
  int ReadByte();

  /// Whether a signal has come in that no question has taken yet: begin nothing new.
  bool IsInterrupted() const { return ending_signal_ != 0 || CaughtSignals::First() != 0; }
  /// Takes the signal that has come in; true if it was the keyboard's interrupt.
  bool TakeInterrupt();
  /// The number of questions that signals have ended.
  int Interrupts() const { return interrupts_; }
  /// The signal that should end the process, which raises it after cleaning up; 0 for none.
  int EndingSignal() const;
  /// Makes that signal end the process.
  void EndBy(int signal) { ending_signal_ = signal; }

  /// Runs during a wait for input; returns how long to wait until it must run again.
  std::function<std::chrono::milliseconds()> idle;

 private:
  SecretResult ReadSecretLine(SecretString& secret);
  void WriteRaw(std::string_view text) const;

  int input_;
  int output_;
  bool is_there_;
  int ending_signal_ = 0;
  int interrupts_ = 0;
  int open_questions_ = 0;
  std::string status_;
};

}  // namespace corvessa::desk
