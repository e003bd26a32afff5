#include "desk/commands/command_context.h"

#include <ostream>

#include "base/text.h"

namespace corvessa::desk {

Profile CommandContext::OpenProfile() const {
  return Profile(profile_folder.empty() ? Profile::DefaultFolder() : profile_folder);
}

void CommandContext::Tell(std::string_view line) const {
  terminal.ClearStatus();
  messages << kProgram << ": " << ForDisplay(line) << std::endl;
}

}  // namespace corvessa::desk
