#include "engine/servers.h"

#include <arpa/inet.h>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace corvessa::engine {
namespace {

sockaddr_in Loopback(int port) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

int Listen(int& port) {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = Loopback(0);
  socklen_t size = sizeof address;
  if (bind(listener, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
      listen(listener, 16) != 0 ||
      getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    throw std::runtime_error("no loopback port");
  }
  port = ntohs(address.sin_port);
  return listener;
}

int FreePort() {
  int port = 0;
  close(Listen(port));
  return port;
}

bool Answers(int port) {
  const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in address = Loopback(port);
  const bool answers =
      connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(probe);
  return answers;
}

std::string AddressAt(int port) {
  return "http://127.0.0.1:" + std::to_string(port);
}

pid_t Spawn(std::vector<std::string> words) {
  std::vector<char*> arguments;
  for (auto& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  for (const int stream : {1, 2}) {
    posix_spawn_file_actions_addopen(&quiet, stream, "/dev/null", 1 /* write only */, 0);
  }
  pid_t process = 0;
  const int failed =
      posix_spawnp(&process, arguments[0], &quiet, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&quiet);
  if (failed != 0) throw std::runtime_error("cannot start " + words[0]);
  return process;
}

}  // namespace

SksServer::SksServer() : port_(FreePort()) {
  for (const auto* name :
       {"etc/sks", "var/run/sks", "var/lib/sks", "var/log/sks", "var/spool/sks"}) {
    std::filesystem::create_directories(folder_ / name);
  }
  std::ofstream(folder_ / "etc/sks/sksconf")
      << "hkp_address: 127.0.0.1\nhkp_port: " << port_ << "\ndisable_mailsync:\n";
  const std::string base = folder_.Path().string();
  waitpid(Spawn({"/usr/sbin/sks", "build", "-basedir", base}), nullptr, 0);
  process_ = Spawn({"/usr/sbin/sks", "db", "-basedir", base});
  for (int i = 0; i < 500 && !Answers(port_); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

SksServer::~SksServer() {
  kill(process_, SIGTERM);
  waitpid(process_, nullptr, 0);
}

std::string SksServer::Address() const {
  return AddressAt(port_);
}

RogueServer::RogueServer(Answer answer)
    : answer_(std::move(answer)), listener_(Listen(port_)), thread_([this] { Serve(); }) {}

RogueServer::~RogueServer() {
  stopping_ = true;
  thread_.join();
  close(listener_);
}

std::string RogueServer::Address() const {
  return AddressAt(port_);
}

std::vector<std::string> RogueServer::Requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void RogueServer::Serve() {
  pollfd waiting{listener_, POLLIN, 0};
  while (!stopping_) {
    if (poll(&waiting, 1, 20) != 1) continue;
    const int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    char head[4096];
    const auto size = recv(connection, head, sizeof head, 0);
    {
      const std::lock_guard lock(mutex_);
      requests_.emplace_back(head, size > 0 ? static_cast<std::size_t>(size) : 0);
    }
    answer_(connection);
    close(connection);
  }
}

bool Send(int socket, const std::string& bytes) {
  for (std::size_t sent = 0; sent < bytes.size();) {
    const auto count = send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) return false;
    sent += static_cast<std::size_t>(count);
  }
  return true;
}

RogueServer::Answer Says(const std::string& body) {
  return [body](int socket) { Send(socket, "HTTP/1.0 200 OK\r\n\r\n" + body); };
}

std::string DeadAddress() {
  return AddressAt(FreePort());
}

}  // namespace corvessa::engine
