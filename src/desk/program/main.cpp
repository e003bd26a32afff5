#include <csignal>
#include <iostream>

#include "desk/commands/run_desk.h"
#include "desk/terminal/terminal.h"

int main(int argument_count, char** arguments) {
  // A reader that goes away is a write error, told in words.
  std::signal(SIGPIPE, SIG_IGN);
  std::ios::sync_with_stdio(false);
  int result = 0;
  int ending_signal = 0;
  {
    auto terminal = corvessa::desk::Terminal::Standard();
    result = corvessa::desk::RunDesk(argument_count, arguments, terminal, std::cout, std::cerr);
    ending_signal = terminal.EndingSignal();
  }
  if (ending_signal != 0) std::raise(ending_signal);
  return result;
}
