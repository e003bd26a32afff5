#include "support/http_server.h"

#include <utility>

namespace corvessa::testing {

HttpServer::HttpServer(Answer answer) : answer_(std::move(answer)), listener_(Listen(port_)) {
  if (!answer_) answer_ = Replies("404 -\r\nContent-Length: 0\r\n\r\n");
  thread_ = std::thread([this] {
    for (int connection; (connection = Accept(listener_)) >= 0;) {
      Reply(connection);
      Close(connection);
    }
  });
}

HttpServer::~HttpServer() {
  StopListening(listener_);
  thread_.join();
  Close(listener_);
}

std::string HttpServer::Url(std::string_view path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + std::string(path);
}

std::vector<std::string> HttpServer::Requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void HttpServer::Reply(int connection) {
  std::string head;
  for (char byte; !head.ends_with("\r\n\r\n") && Receive(connection, &byte, 1) == 1;) head += byte;
  {
    const std::lock_guard lock(mutex_);
    requests_.push_back(head);
  }
  const std::size_t start = head.find(' ') + 1;
  answer_(connection, head.substr(start, head.find(' ', start) - start));
}

HttpServer::Answer Replies(std::string reply) {
  return [whole = "HTTP/1.0 " + std::move(reply)](int socket, const std::string& /*path*/) {
    Send(socket, whole);
  };
}

}  // namespace corvessa::testing
