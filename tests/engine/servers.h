#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

#include "support/temp_folder.h"

namespace corvessa::engine {

/// The sks key server in a private folder on a loopback port; ended with this object.
class SksServer {
 public:
  SksServer();
  ~SksServer();
  SksServer(const SksServer&) = delete;
  SksServer& operator=(const SksServer&) = delete;
  std::string Address() const;

 private:
  testing::TempFolder folder_;
  int port_ = 0;
  pid_t process_ = 0;
};

/// A server that answers every connection as the test wants: it reads the request's head, then
/// `answer` writes what it likes to the socket until that fails.
class RogueServer {
 public:
  using Answer = std::function<void(int socket)>;
  explicit RogueServer(Answer answer);
  ~RogueServer();
  RogueServer(const RogueServer&) = delete;
  RogueServer& operator=(const RogueServer&) = delete;
  std::string Address() const;
  /// The heads of the requests so far.
  std::vector<std::string> Requests() const;

 private:
  void Serve();
  Answer answer_;
  int port_ = 0;  // before the listener, whose making sets it
  int listener_ = -1;
  std::atomic<bool> stopping_ = false;
  mutable std::mutex mutex_;
  std::vector<std::string> requests_;
  std::thread thread_;
};

/// Writes all of it; false when the other side is gone.
bool Send(int socket, const std::string& bytes);
/// An answer 200 with this body.
RogueServer::Answer Says(const std::string& body);
/// An address of this machine where nobody listens.
std::string DeadAddress();

}  // namespace corvessa::engine
