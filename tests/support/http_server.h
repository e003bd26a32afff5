#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace corvessa::testing {

/// A small HTTP/1.0 server on a loopback port, on a thread of its own. One connection at a time.
class HttpServer {
 public:
  /// Writes what it likes to the socket.
  using Answer = std::function<void(int socket)>;
  /// `otherwise` answers what nothing is served for; 404 without one.
  explicit HttpServer(Answer otherwise = {});
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  /// "http://127.0.0.1:port" and the path, which begins with "/".
  std::string Url(std::string_view path = {}) const;
  /// What the path, query included, answers from now on; further header lines each with their CR
  /// LF.
  void Serve(std::string path, std::string body, int status = 200, std::string headers = {});
  /// The paths asked for so far, queries included, and the whole head of the last request.
  std::vector<std::string> Requests() const;
  std::string LastHead() const;

 private:
  void Run();
  void Reply(int connection);

  int listener_ = -1;
  int port_ = 0;
  mutable std::mutex mutex_;
  Answer otherwise_;
  std::map<std::string, Answer> replies_;
  std::vector<std::string> requests_;
  std::string last_head_;
  std::thread thread_;
};

/// Writes all of it; false when the other side is gone.
bool Send(int socket, std::string_view bytes);
/// The answer "HTTP/1.0 " and this: status, header lines, an empty line, body.
HttpServer::Answer Replies(std::string reply);

}  // namespace corvessa::testing
