#pragma once

#include <cstdint>
#include <string>
#include <thread>

namespace corvessa::windows {

/// A key server on this computer that answers everything with the same key.
class KeyServer {
 public:
  explicit KeyServer(const std::string& key);
  ~KeyServer();
  KeyServer(const KeyServer&) = delete;
  KeyServer& operator=(const KeyServer&) = delete;

  std::string Url() const { return "http://127.0.0.1:" + std::to_string(port_); }

 private:
  void Serve() const;

  std::string answer_;
  int port_ = 0;
  std::uintptr_t listener_;
  std::thread thread_;
};

}  // namespace corvessa::windows
