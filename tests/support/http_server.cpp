#include "support/http_server.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdlib>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace corvessa::testing {
namespace {

int Checked(int result) {
  if (result < 0) throw std::system_error(errno, std::generic_category());
  return result;
}

/// Waits a few seconds at most, so that a silent client cannot hold up a test for ever.
std::string ReadHead(int connection) {
  std::string head;
  char buffer[4096];
  while (head.find("\r\n\r\n") == std::string::npos) {
    pollfd readable{connection, POLLIN, 0};
    if (poll(&readable, 1, 5000) <= 0) break;
    const ssize_t got = recv(connection, buffer, sizeof buffer, 0);
    if (got <= 0) break;
    head.append(buffer, static_cast<std::size_t>(got));
  }
  return head;
}

}  // namespace

HttpServer::HttpServer(Answer answer) : answer_(std::move(answer)) {
  if (!answer_) answer_ = Replies("404 -\r\nContent-Length: 0\r\n\r\n");
  // A proxy of the machine's environment knows nothing of this loopback port.
  setenv("no_proxy", "127.0.0.1", 1);
  listener_ = Checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof address;
  Checked(bind(listener_, generic, size));
  Checked(listen(listener_, 16));
  Checked(getsockname(listener_, generic, &size));
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this] { Run(); });
}

HttpServer::~HttpServer() {
  shutdown(listener_, SHUT_RDWR);  // ends the accept that waits
  thread_.join();
  close(listener_);
}

std::string HttpServer::Url(std::string_view path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + std::string(path);
}

std::vector<std::string> HttpServer::Requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

std::string HttpServer::LastHead() const {
  const std::lock_guard lock(mutex_);
  return last_head_;
}

void HttpServer::Run() {
  for (int connection; (connection = accept(listener_, nullptr, nullptr)) >= 0;) {
    Reply(connection);
    close(connection);
  }
}

void HttpServer::Reply(int connection) {
  const std::string head = ReadHead(connection);
  const std::size_t start = head.find(' ') + 1;
  const std::string path = head.substr(start, head.find(' ', start) - start);
  {
    const std::lock_guard lock(mutex_);
    requests_.push_back(path);
    last_head_ = head;
  }
  answer_(connection, path);
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
