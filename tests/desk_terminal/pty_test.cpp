#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include "desk/terminal/signals.h"
#include "desk/terminal/terminal.h"

namespace corvessa::testing {
namespace {

/// A process on a pseudo-terminal of its own, and its user.
class Process {
 public:
  explicit Process(const std::function<void(desk::Terminal&)>& body) {
    pid_ = forkpty(&master_, nullptr, nullptr, nullptr);
    if (pid_ != 0) return;
    setenv("TERM", "xterm", 1);
    desk::Terminal terminal(STDIN_FILENO, STDOUT_FILENO, true);
    body(terminal);
    _exit(0);
  }
  ~Process() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    close(master_);
  }

  void Type(std::string_view text) {
    EXPECT_EQ(write(master_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  /// The output since the last call up to and including the text; all of it if the text never came.
  std::string ShownUpTo(std::string_view text) {
    std::string shown;
    while (!shown.ends_with(text)) {
      pollfd ready{master_, POLLIN, 0};
      char byte = 0;
      if (poll(&ready, 1, 20'000) <= 0 || read(master_, &byte, 1) != 1) break;
      shown += byte;
    }
    return shown;
  }
  bool Echoes() const {
    termios modes{};
    tcgetattr(master_, &modes);
    return (modes.c_lflag & ECHO) != 0;
  }
  /// The signal that ended or, with `stopped`, stopped the process; 0 if it ended by itself.
  int WaitForSignal(bool stopped = false) {
    int status = 0;
    waitpid(pid_, &status, stopped ? WUNTRACED : 0);
    if (WIFSTOPPED(status)) return WSTOPSIG(status);
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  }
  void Signal(int signal) { kill(pid_, signal); }

 private:
  int master_ = -1;
  pid_t pid_ = -1;
};

TEST(Pty, AnInterruptEndsTheNextQuestionASecondOneTheProcess) {
  Process process([](desk::Terminal& terminal) {
    const desk::CaughtSignals caught;
    terminal.Write("working");
    while (!terminal.IsInterrupted()) usleep(1000);
    terminal.Write(terminal.ReadLine("Line: ") ? "read.\n" : "given up.\n");
    terminal.Write(terminal.ReadLine("Line: ") ? "read.\n" : "given up.\n");
    while (!terminal.IsInterrupted()) usleep(1000);
    terminal.Write("interrupted");
    for (;;) pause();
  });
  process.ShownUpTo("working");
  process.Signal(SIGINT);
  EXPECT_EQ(process.ShownUpTo("\nLine: "), "Line: given up.\r\nLine: ");
  process.Type("x\n");
  EXPECT_EQ(process.ShownUpTo(".\r\n"), "x\r\nread.\r\n");
  process.Signal(SIGINT);
  process.ShownUpTo("interrupted");
  process.Signal(SIGINT);
  EXPECT_EQ(process.WaitForSignal(), SIGINT);
}

TEST(Pty, CleansUpBeforeAbortingEndlessWork) {
  Process process([](desk::Terminal& terminal) {
    const desk::CaughtSignals caught;
    const desk::CleanUpAction action([&] { terminal.Write("tidied.\n"); });
    const desk::WorkLimit limit(std::chrono::milliseconds(10));
    for (;;) clock();
  });
  EXPECT_EQ(process.ShownUpTo("aborted\r\n"),
            "tidied.\r\ncorvessa-desk: decryption takes too long; aborted\r\n");
  EXPECT_EQ(process.WaitForSignal(), 0);
}

TEST(Pty, AsksAgainAfterAStop) {
  Process process([](desk::Terminal& terminal) {
    // A session leader of an orphaned group is never stopped by the keyboard's signal.
    std::signal(SIGTSTP, [](int) { std::raise(SIGSTOP); });
    SecretString secret;
    const auto result = terminal.ReadSecret("Passphrase: ", secret);
    terminal.Write(std::to_string(secret.View().size()) + " bytes, result " +
                   std::to_string(static_cast<int>(result)) + ".\n");
  });
  process.ShownUpTo(": ");
  process.Signal(SIGTSTP);
  EXPECT_EQ(process.WaitForSignal(true), SIGSTOP);
  EXPECT_TRUE(process.Echoes());
  process.Signal(SIGCONT);
  EXPECT_EQ(process.ShownUpTo(": "), "\r\nPassphrase: ");
  EXPECT_FALSE(process.Echoes());
  process.Type("sesame\n");
  EXPECT_EQ(process.ShownUpTo(".\r\n"), "\r\n6 bytes, result 0.\r\n");
}

}  // namespace
}  // namespace corvessa::testing
