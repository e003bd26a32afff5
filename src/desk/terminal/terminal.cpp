#include "desk/terminal/terminal.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "commands/columns.h"

namespace corvessa::desk {
namespace {

constexpr int kUsualColumns = 80;
constexpr int kFewestColumns = 20;

timespec ToTimespec(std::chrono::milliseconds time) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  return {seconds.count(), std::chrono::nanoseconds(time - seconds).count()};
}

int ColumnsOfWindow(int output) {
  winsize size{};
  if (ioctl(output, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsualColumns;
  return size.ws_col < kFewestColumns ? kFewestColumns : size.ws_col;
}

/// Turns a terminal's echo off while it lives; has no effect on other files. Signals, including the
/// one that stops the process, are caught and come in only during a wait for input, so that none
/// leaves the terminal mute.
class EchoOff {
 public:
  explicit EchoOff(int terminal) : terminal_(terminal) {
    is_terminal_ = tcgetattr(terminal_, &earlier_modes_) == 0;
    if (!is_terminal_) return;
    termios mute = earlier_modes_;
    mute.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
    // Text typed ahead was echoed, so it was not meant as a secret: discard it.
    tcsetattr(terminal_, TCSAFLUSH, &mute);
  }
  ~EchoOff() {
    if (is_terminal_) tcsetattr(terminal_, TCSADRAIN, &earlier_modes_);
  }
  EchoOff(const EchoOff&) = delete;
  EchoOff& operator=(const EchoOff&) = delete;

 private:
  CaughtSignals caught_ = CaughtSignals::WithStop();
  HeldSignals held_;
  int terminal_;
  bool is_terminal_ = false;
  termios earlier_modes_{};
};

}  // namespace

Terminal::Terminal(int input, int output, bool is_there)
    : input_(input), output_(output), is_there_(is_there) {}

Terminal Terminal::Standard() {
  return {STDIN_FILENO, STDERR_FILENO, isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0};
}

int Terminal::Columns() const {
  return ColumnsOfWindow(output_);
}

int Terminal::OutputColumns() {
  return isatty(STDOUT_FILENO) != 0 ? ColumnsOfWindow(STDOUT_FILENO) : kUnlimitedColumns;
}

OutputStyle Terminal::StyleOfOutput() {
  const auto variable = [](const char* name) {
    const char* const value = std::getenv(name);
    return std::string_view(value ? value : "");
  };
  OutputStyle style;
  style.has_signs = isatty(STDOUT_FILENO) != 0;
  style.has_colours = style.has_signs && variable("NO_COLOR").empty() && variable("TERM") != "dumb";
  return style;
}

bool Terminal::IsOutputClosed() {
  pollfd output{STDOUT_FILENO, POLLOUT, 0};
  return poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

void Terminal::WriteRaw(std::string_view text) const {
  while (!text.empty()) {
    const ssize_t written = write(output_, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    // The window is gone.
    if (written <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

void Terminal::Write(std::string_view text) {
  if (!is_there_) return;
  ClearStatus();
  WriteRaw(text);
}

void Terminal::ShowStatus(std::string_view text) {
  if (!is_there_ || open_questions_ > 0) return;
  // Leaves one column free: the cursor after the last column would wrap to the next line.
  const std::string line = CutToColumns(text, Columns() - 1);
  if (line == status_) return;
  WriteRaw("\r" + PadToColumns(line, ColumnsOf(status_)));
  status_ = line;
}

void Terminal::ClearStatus() {
  if (status_.empty()) return;
  WriteRaw("\r" + PadToColumns("", ColumnsOf(status_)) + "\r");
  status_.clear();
}

int Terminal::ReadByte() {
  const HeldSignals held;
  while (!IsInterrupted()) {
    timespec wait{};
    if (idle) wait = ToTimespec(idle());
    pollfd input{input_, POLLIN, 0};
    const int ready = ppoll(&input, 1, idle ? &wait : nullptr, held.WaitMask());
    if (ready == 0 || (ready < 0 && errno == EINTR)) continue;
    unsigned char byte = 0;
    const ssize_t count = read(input_, &byte, 1);
    if (count < 0 && errno == EINTR) continue;
    return count == 1 ? byte : -1;
  }
  return -1;
}

bool Terminal::TakeInterrupt() {
  const int caught = CaughtSignals::Take();
  if (caught != 0) ++interrupts_;
  if (caught != 0 && caught != SIGINT) ending_signal_ = caught;
  return caught == SIGINT;
}

int Terminal::EndingSignal() const {
  return ending_signal_ != 0 ? ending_signal_ : CaughtSignals::First();
}

std::optional<std::string> Terminal::ReadLine(std::string_view prompt) {
  const Question question(*this);
  Write(prompt);
  std::string line;
  for (;;) {
    const int byte = ReadByte();
    if (byte < 0 && (line.empty() || IsInterrupted())) {
      TakeInterrupt();
      return std::nullopt;
    }
    if (byte < 0 || byte == '\n') break;
    line += static_cast<char>(byte);
  }
  if (line.ends_with('\r')) line.pop_back();
  return line;
}

Terminal::SecretResult Terminal::ReadSecretLine(SecretString& secret) {
  SecretLine line;
  for (int byte = ReadByte(); byte != '\n'; byte = ReadByte()) {
    if (byte < 0) return SecretResult::kAborted;
    line.Add(static_cast<char>(byte));
  }
  if (line.IsTooLong()) return SecretResult::kTooLong;
  secret.Assign(line.View());
  return SecretResult::kRead;
}

Terminal::SecretResult Terminal::ReadSecret(std::string_view prompt, SecretString& secret) {
  const Question question(*this);
  for (;;) {
    secret.Clear();
    SecretResult result;
    {
      const EchoOff mute(input_);
      Write(prompt);
      result = ReadSecretLine(secret);
    }
    Write("\n");
    if (CaughtSignals::First() == SIGTSTP) {
      std::raise(CaughtSignals::Take());
      continue;
    }
    TakeInterrupt();
    return result;
  }
}

}  // namespace corvessa::desk
