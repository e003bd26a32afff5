#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/sockets.h"

namespace corvessa::testing {

/// A small HTTP/1.0 server on a loopback port, on a thread of its own. One connection at a time.
class HttpServer {
 public:
  /// Writes what it likes to the socket. The path includes the query.
  using Answer = std::function<void(int socket, const std::string& path)>;
  /// Answers 404 without one.
  explicit HttpServer(Answer answer = {});
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  /// "http://127.0.0.1:port" and the path, which begins with "/".
  std::string Url(std::string_view path = {}) const;
  /// The whole heads of the requests so far.
  std::vector<std::string> Requests() const;

 private:
  void Reply(int connection);

  Answer answer_;
  int port_ = 0;
  int listener_;
  mutable std::mutex mutex_;
  std::vector<std::string> requests_;
  std::thread thread_;
};

/// The answer "HTTP/1.0 " and this: status, header lines, an empty line, body.
HttpServer::Answer Replies(std::string reply);

}  // namespace corvessa::testing
