#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/secret_string.h"
#include "desk/terminal/signals.h"

namespace corvessa::desk {

/// What every line to the user begins with.
inline constexpr std::string_view kProgram = "corvessa-desk";

/// Where a person sits: lines and passphrases come in, boxes and one redrawn status line go out.
/// Without a person (`is_there` false) nothing is drawn; lines are still read. Reads byte by byte,
/// so that nothing is lost between it and others who read the same input.
///
/// After a signal to end the process that was caught (CaughtSignals) the input counts as ended:
/// after the keyboard's interrupt for the one question that is asked next, after the others for
/// good.
class Terminal {
 public:
  enum class SecretResult { kRead, kTooLong, kAborted };

  /// While one lives a person is asked something: no status line is drawn over it, whatever goes on
  /// meanwhile. They may be nested.
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
  /// Standard input and standard error, so that standard output stays free for results; there when
  /// both are terminals.
  static Terminal Standard();

  bool IsThere() const { return is_there_; }
  int Input() const { return input_; }
  int Output() const { return output_; }
  /// The width of the window; 80 when it is not known.
  int Columns() const;
  /// The width of the window that standard output is shown in; kUnlimitedColumns without one.
  static int OutputColumns();

  /// Takes the status line away first. Writes nothing when nobody is there.
  void Write(std::string_view text);
  /// Draws the one line that is redrawn in place, cut to the width; not while a question is open.
  void ShowStatus(std::string_view text);
  void ClearStatus();

  /// Without the line break; nothing at the end of the input.
  std::optional<std::string> ReadLine(std::string_view prompt);
  /// A line typed without echo, at most 4,000 bytes; aborted by the end of the input. After having
  /// been stopped it asks again.
  SecretResult ReadSecret(std::string_view prompt, SecretString& secret);
  /// Waits; -1 at the end of the input.
  int ReadByte();

  /// A signal has come in to which no question has answered yet: nothing new is to be begun.
  bool IsInterrupted() const { return ending_signal_ != 0 || CaughtSignals::First() != 0; }
  /// Ends one question by the signal that has come in; true when it was the keyboard's interrupt.
  bool TakeInterrupt();
  /// How many questions signals have ended.
  int Interrupts() const { return interrupts_; }
  /// The signal that was to end the process; 0 for none. The program is to raise it once it has
  /// tidied up.
  int EndingSignal() const;

  /// Runs while input is waited for and says how long it may be left alone.
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
