#include "support/http_server.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace corvessa::testing {

HttpServer::HttpServer(Answer answer)
    : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), answer_(std::move(answer)) {
  if (!answer_) answer_ = Replies("404 -\r\nContent-Length: 0\r\n\r\n");
  // A proxy of the machine's environment knows nothing of this loopback port.
  setenv("no_proxy", "127.0.0.1", 1);
  sockaddr_in address{.sin_family = AF_INET, .sin_addr = {htonl(INADDR_LOOPBACK)}};
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof address;
  if (bind(listener_, generic, size) < 0 || listen(listener_, 16) < 0 ||
      getsockname(listener_, generic, &size) < 0) {
    throw std::runtime_error("no server can be started");
  }
  port_ = std::to_string(ntohs(address.sin_port));
  thread_ = std::thread([this] {
    for (int connection; (connection = accept(listener_, nullptr, nullptr)) >= 0;) {
      Reply(connection);
      close(connection);
    }
  });
}

HttpServer::~HttpServer() {
  shutdown(listener_, SHUT_RDWR);  // ends the accept that waits
  thread_.join();
  close(listener_);
}

std::string HttpServer::Url(std::string_view path) const {
  return "http://127.0.0.1:" + port_ + std::string(path);
}

std::vector<std::string> HttpServer::Requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void HttpServer::Reply(int connection) {
  // A silent client cannot hold up a test for ever.
  const timeval patience{5, 0};
  setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  std::string head;
  for (char byte; !head.ends_with("\r\n\r\n") && recv(connection, &byte, 1, 0) == 1;) head += byte;
  {
    const std::lock_guard lock(mutex_);
    requests_.push_back(head);
  }
  const std::size_t start = head.find(' ') + 1;
  answer_(connection, head.substr(start, head.find(' ', start) - start));
}

bool Send(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

HttpServer::Answer Replies(std::string reply) {
  return [whole = "HTTP/1.0 " + std::move(reply)](int socket, const std::string& /*path*/) {
    Send(socket, whole);
  };
}

}  // namespace corvessa::testing
