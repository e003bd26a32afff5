#include "support/sockets.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdlib>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace corvessa::testing {
namespace {

int Checked(int result) {
  if (result < 0) throw std::system_error(errno, std::generic_category());
  return result;
}

}  // namespace

int Listen(int& port) {
  // A proxy of the machine's environment knows nothing of this loopback port.
  setenv("no_proxy", "127.0.0.1", 1);
  const int listener = Checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof address;
  Checked(bind(listener, generic, size));
  Checked(listen(listener, 16));
  Checked(getsockname(listener, generic, &size));
  port = ntohs(address.sin_port);
  return listener;
}

int Accept(int listener) {
  return accept(listener, nullptr, nullptr);
}

// Ends the accept that waits.
void StopListening(int listener) {
  shutdown(listener, SHUT_RDWR);
}

std::size_t Receive(int connection, char* buffer, std::size_t size) {
  pollfd readable{connection, POLLIN, 0};
  if (poll(&readable, 1, 5000) <= 0) return 0;
  const ssize_t got = recv(connection, buffer, size, 0);
  return got < 0 ? 0 : static_cast<std::size_t>(got);
}

bool Send(int connection, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

void Close(int connection) {
  close(connection);
}

}  // namespace corvessa::testing
