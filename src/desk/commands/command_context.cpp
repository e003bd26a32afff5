#include "desk/commands/command_context.h"

#include <nlohmann/json.hpp>
#include <ostream>
#include <system_error>
#include <utility>

#include "base/text.h"
#include "desk/json_report.h"
#include "system/errors.h"

namespace corvessa::desk {

Profile CommandContext::OpenProfile() const {
  return Profile(profile_folder.empty() ? Profile::DefaultFolder() : profile_folder);
}

void CommandContext::Tell(std::string_view line) const {
  terminal.ClearStatus();
  messages << kProgram << ": " << ForDisplay(line) << std::endl;
}

void CommandContext::WriteJson(const nlohmann::json& report) {
  out << TextOf(report);
  has_written_json = true;
}

Outcome CommandContext::Judge(Outcome outcome) {
  const std::error_code trouble = system::DiskFailure();
  if (outcome != Outcome::kRefused || !trouble) return outcome;
  if (!std::exchange(has_blamed_disk, true)) {
    Tell("that is because the disk failed: " + trouble.message());
  }
  return Outcome::kEnvironment;
}

void CommandContext::TellFailure(Outcome outcome, std::string_view message) {
  Tell(message);
  if (!json || has_written_json) return;
  WriteJson({{"resultCode", static_cast<int>(outcome)}, {"error", std::string(message)}});
  out.flush();
}

}  // namespace corvessa::desk
