#include "support/sockets.h"

#include <stdexcept>
#include <winsock2.h>

namespace corvessa::testing {
namespace {

void Require(bool succeeded) {
  if (!succeeded) throw std::runtime_error("cannot listen");
}

SOCKET Socket(int number) {
  return static_cast<SOCKET>(number);
}

}  // namespace

int Listen(int& port) {
  WSADATA data;
  Require(WSAStartup(MAKEWORD(2, 2), &data) == 0);
  const SOCKET listener = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  int size = sizeof address;
  Require(bind(listener, generic, size) == 0 && listen(listener, 16) == 0 &&
          getsockname(listener, generic, &size) == 0);
  port = ntohs(address.sin_port);
  return static_cast<int>(listener);
}

int Accept(int listener) {
  return static_cast<int>(accept(Socket(listener), nullptr, nullptr));
}

// Only closing it ends the accept that waits.
void StopListening(int listener) {
  closesocket(Socket(listener));
}

std::size_t Receive(int connection, char* buffer, std::size_t size) {
  const DWORD limit = 5000;
  setsockopt(Socket(connection), SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&limit),
             sizeof limit);
  const int got = recv(Socket(connection), buffer, static_cast<int>(size), 0);
  return got < 0 ? 0 : static_cast<std::size_t>(got);
}

bool Send(int connection, std::string_view bytes) {
  while (!bytes.empty()) {
    const int sent = send(Socket(connection), bytes.data(), static_cast<int>(bytes.size()), 0);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

void Close(int connection) {
  shutdown(Socket(connection), SD_SEND);
  closesocket(Socket(connection));
}

}  // namespace corvessa::testing
