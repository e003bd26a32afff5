#include <csignal>
#include <fcntl.h>
#include <iostream>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include "desk/commands/command.h"
#include "desk/terminal/terminal.h"
#include "system/process.h"

namespace {

/// Occupies the standard streams that the caller closed. Otherwise a file opened later could get
/// such a number and receive what is printed. Reading from these streams and writing to them fails.
void FillClosedStreams() {
  while (true) {
    const int stream = open("/dev/null", O_RDONLY);
    if (stream > STDERR_FILENO) close(stream);
    if (stream < 0 || stream > STDERR_FILENO) return;
  }
}

/// A dump of this process would write decrypted text and passphrases to the disk.
void ForbidDumps() {
  const rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
  prctl(PR_SET_DUMPABLE, 0);
}

}  // namespace

int main(int argument_count, char** arguments) {
  FillClosedStreams();
  ForbidDumps();
  corvessa::system::LockSecrets();
  // A closed pipe and a limit on the size of files become write errors with a message.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  std::ios::sync_with_stdio(false);
  auto terminal = corvessa::desk::Terminal::Standard();
  const int result =
      corvessa::desk::RunDesk(argument_count, arguments, terminal, std::cout, std::cerr);
  if (const int signal = terminal.EndingSignal(); signal != 0) {
    if (signal == SIGPIPE) std::signal(SIGPIPE, SIG_DFL);
    std::raise(signal);
  }
  return result;
}
