#include "windows/engine/key_server.h"

#include <stdexcept>
#include <winsock2.h>

namespace corvessa::windows {
namespace {

void Require(bool succeeded) {
  if (!succeeded) throw std::runtime_error("the key server cannot be started");
}

std::uintptr_t Listen(int& port) {
  WSADATA data;
  Require(WSAStartup(MAKEWORD(2, 2), &data) == 0);
  const SOCKET listener = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  int size = sizeof address;
  Require(bind(listener, reinterpret_cast<sockaddr*>(&address), size) == 0);
  Require(listen(listener, 16) == 0);
  getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
  port = ntohs(address.sin_port);
  return listener;
}

}  // namespace

KeyServer::KeyServer(const std::string& key)
    : answer_("HTTP/1.0 200 -\r\nContent-Length: " + std::to_string(key.size()) + "\r\n\r\n" + key),
      listener_(Listen(port_)),
      thread_([this] { Serve(); }) {}

KeyServer::~KeyServer() {
  closesocket(listener_);
  thread_.join();
  WSACleanup();
}

void KeyServer::Serve() const {
  for (SOCKET caller; (caller = accept(listener_, nullptr, nullptr)) != INVALID_SOCKET;) {
    char request[4096];
    recv(caller, request, sizeof request, 0);
    send(caller, answer_.data(), static_cast<int>(answer_.size()), 0);
    shutdown(caller, SD_SEND);
    closesocket(caller);
  }
}

}  // namespace corvessa::windows
