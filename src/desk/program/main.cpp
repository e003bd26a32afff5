#include <csignal>
#include <iostream>

#include "desk/commands/run_desk.h"
#include "desk/terminal/terminal.h"

int main(int argument_count, char** arguments) {
  // A reader that goes away is a write error, told in words.
  std::signal(SIGPIPE, SIG_IGN);
  std::ios::sync_with_stdio(false);
  auto terminal = corvessa::desk::Terminal::Standard();
  const int result =
      corvessa::desk::RunDesk(argument_count, arguments, terminal, std::cout, std::cerr);
  if (terminal.EndingSignal() != 0) std::raise(terminal.EndingSignal());
  return result;
}
