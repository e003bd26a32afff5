#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "engine/engine.h"
#include "windows_engine/worker.h"

namespace corvessa::windows {

/// Opens an engine. Throws Error when that fails.
using OpenEngine = std::function<std::shared_ptr<engine::OpenPgpEngine>()>;

/// How much processor time an operation may take. What people send to one another takes a hundredth
/// of it.
struct WorkLimit {
  std::chrono::nanoseconds always = std::chrono::seconds(30);
  std::chrono::nanoseconds per_megabyte = std::chrono::seconds(1);
};

/// An engine at work on a thread of its own. One that does not come back from an operation is left
/// behind, and the next operation opens another, with the same options but nothing unlocked.
class EngineSession {
 public:
  using Operation = std::function<platform::EngineStatus(engine::OpenPgpEngine&)>;

  /// Throws Error when the engine cannot be opened.
  explicit EngineSession(OpenEngine open, WorkLimit limit = {});

  /// Runs an operation that reads so many bytes; -11 when it takes too long. It may outlive the
  /// call then, so what it uses must be its own.
  platform::EngineStatus Perform(std::uint64_t bytes, Operation operation);
  std::string LastError() const { return last_error_; }
  const platform::EngineTrouble& Trouble() const { return trouble_; }

  /// As those of the engine.
  void SetOption(std::string name, std::string value);
  void SetAnonymousMode(bool anonymous);

 private:
  /// The worker waits for its end, so that the engine is never used after it.
  struct Team {
    std::shared_ptr<engine::OpenPgpEngine> engine;
    Worker worker;
  };
  std::shared_ptr<Team> OpenTeam();
  std::shared_ptr<Team> CurrentTeam();
  std::chrono::nanoseconds LimitFor(std::uint64_t bytes) const;

  OpenEngine open_;
  WorkLimit limit_;
  std::map<std::string, std::string> options_;
  bool anonymous_ = false;
  std::string last_error_;
  platform::EngineTrouble trouble_;
  std::shared_ptr<Team> team_;
};

}  // namespace corvessa::windows
