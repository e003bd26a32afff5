#pragma once

#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace corvessa::testing {

/// A small HTTP/1.0 server on a loopback port, on a thread of its own: serves what the test told it
/// to, 404 otherwise. One connection at a time.
class HttpServer {
 public:
  HttpServer();
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  /// "http://127.0.0.1:port" and the path, which begins with "/".
  std::string Url(std::string_view path) const;
  /// What the path, query included, answers from now on; further header lines each with their CR
  /// LF.
  void Serve(std::string path, std::string body, int status = 200, std::string headers = {});
  /// The paths asked for so far, queries included.
  std::vector<std::string> Requests() const;

 private:
  struct Reply {
    std::string body;
    int status = 200;
    std::string headers;
  };

  void Run();
  void Answer(int connection);

  int listener_ = -1;
  int stop_pipe_[2] = {-1, -1};
  int port_ = 0;
  mutable std::mutex mutex_;
  std::map<std::string, Reply> replies_;
  std::vector<std::string> requests_;
  std::thread thread_;
};

}  // namespace corvessa::testing
