#include "windows_engine/engine_session.h"

#include <utility>

#include "base/error.h"

namespace corvessa::windows {
namespace {

constexpr auto kTookTooLong = "The operation took too long.";

}  // namespace

EngineSession::EngineSession(OpenEngine open, WorkLimit limit)
    : open_(std::move(open)), limit_(limit), team_(OpenTeam()) {}

std::chrono::nanoseconds EngineSession::LimitFor(std::uint64_t bytes) const {
  return limit_.always + limit_.per_megabyte * static_cast<std::int64_t>(bytes >> 20);
}

std::shared_ptr<EngineSession::Team> EngineSession::OpenTeam() {
  auto team = std::make_shared<Team>();
  const auto opened = std::make_shared<std::shared_ptr<engine::OpenPgpEngine>>();
  const auto open = [opened, open = open_, options = options_, anonymous = anonymous_] {
    *opened = open();
    for (const auto& [name, value] : options) (*opened)->SetOption(name, value);
    (*opened)->SetAnonymousMode(anonymous);
  };
  if (!team->worker.Run(open, LimitFor(0))) Raise(kCannotCreateComponent, kTookTooLong);
  team->engine = std::move(*opened);
  return team;
}

std::shared_ptr<EngineSession::Team> EngineSession::CurrentTeam() {
  if (team_->worker.IsGivenUp()) team_ = OpenTeam();
  return team_;
}

platform::EngineStatus EngineSession::Perform(std::uint64_t bytes, Operation operation) {
  struct Outcome {
    platform::EngineStatus status = platform::engine_status::kUnexpected;
    std::string last_error = kTookTooLong;
    platform::EngineTrouble trouble = {};
  };
  const auto team = CurrentTeam();
  const auto outcome = std::make_shared<Outcome>();
  const auto work = [outcome, engine = team->engine, operation = std::move(operation)] {
    outcome->status = operation(*engine);
    outcome->last_error = engine->GetEngineLastError();
    outcome->trouble = engine->GetTrouble();
  };
  const bool is_done = team->worker.Run(work, LimitFor(bytes));
  // Work that was given up may still write to its outcome.
  last_error_ = is_done ? outcome->last_error : kTookTooLong;
  trouble_ = is_done ? outcome->trouble : platform::EngineTrouble();
  return is_done ? outcome->status : platform::engine_status::kUnexpected;
}

void EngineSession::SetOption(std::string name, std::string value) {
  Perform(0, [name, value](engine::OpenPgpEngine& engine) {
    engine.SetOption(name, value);
    return platform::engine_status::kDone;
  });
  options_.insert_or_assign(std::move(name), std::move(value));
}

void EngineSession::SetAnonymousMode(bool anonymous) {
  anonymous_ = anonymous;
  Perform(0, [anonymous](engine::OpenPgpEngine& engine) {
    engine.SetAnonymousMode(anonymous);
    return platform::engine_status::kDone;
  });
}

}  // namespace corvessa::windows
