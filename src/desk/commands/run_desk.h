#pragma once

#include <iosfwd>

namespace corvessa::desk {

class Terminal;

/// The program: reads the command line, runs the command and gives the exit code. Results go to
/// `out`, complaints to `messages`, one line each.
int RunDesk(int argument_count, const char* const* arguments, Terminal& terminal, std::ostream& out,
            std::ostream& messages);

}  // namespace corvessa::desk
