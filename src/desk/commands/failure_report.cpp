#include "desk/commands/failure_report.h"

#include <nlohmann/json.hpp>

#include "base/error.h"
#include "desk/commands/command_context.h"
#include "desk/desk_host.h"
#include "desk/json_report.h"

namespace corvessa::desk {
namespace {

void WriteReport(CommandContext& context, DeskHost& host, Outcome outcome,
                 const std::string& message, nlohmann::json json) {
  if (!context.json || context.has_written_json) return;
  json["resultCode"] = static_cast<int>(context.Judge(outcome));
  json["error"] = message;
  AddBoxes(json, host.Ui().Boxes());
  context.WriteJson(json);
}

}  // namespace

Outcome ReportingFailures(CommandContext& context, DeskHost& host,
                          const std::function<Outcome()>& run, const nlohmann::json& nothing_done) {
  try {
    return run();
  } catch (const Failure& failure) {
    WriteReport(context, host, failure.outcome, failure.message, nothing_done);
    throw;
  } catch (const Error& error) {
    WriteReport(context, host, Outcome::kEnvironment, WithoutFullStop(error.description),
                nothing_done);
    throw;
  }
}

}  // namespace corvessa::desk
