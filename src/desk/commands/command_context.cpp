#include "desk/commands/command_context.h"

#include <nlohmann/json.hpp>
#include <ostream>

#include "base/text.h"
#include "desk/json_report.h"

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

void CommandContext::TellFailure(Outcome outcome, std::string_view message) {
  Tell(message);
  if (!json || has_written_json) return;
  WriteJson({{"resultCode", static_cast<int>(outcome)}, {"error", std::string(message)}});
  out.flush();
}

}  // namespace corvessa::desk
