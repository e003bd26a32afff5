#pragma once

#include <cstddef>
#include <string_view>

/// Connections on the loopback interface, as each system has them.
namespace corvessa::testing {

/// Listens on a free port.
int Listen(int& port);
/// The next connection; negative after StopListening.
int Accept(int listener);
void StopListening(int listener);

/// 0 at the end, after a failure, and when nothing comes for five seconds.
std::size_t Receive(int connection, char* buffer, std::size_t size);
/// Writes all of it; false when the other side is gone.
bool Send(int connection, std::string_view bytes);
void Close(int connection);

}  // namespace corvessa::testing
