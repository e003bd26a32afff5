#include "desk/commands/shared_options.h"

#include <CLI/CLI.hpp>
#include <utility>

#include "desk/commands/command_context.h"

namespace corvessa::desk {

void AddMessageOptions(CLI::App& command, CommandContext& context, MessageOptions& options) {
  command.add_option("file", options.file, "the mail file")->required()->type_name("FILE");
  command.add_flag("--json", context.json, "write one JSON object instead of text");
  command.add_flag("--trace", options.trace, "write what the add-in traces to the error output");
}

void AddAddress(CLI::App& command, std::string& address) {
  command.add_option("address", address, "the e-mail address")->required()->type_name("ADDRESS");
}

void AddOutlookVersion(CLI::App& command, int& version) {
  command.add_option("--outlook", version, "the version of Outlook to play")
      ->check(CLI::IsMember({9, 10, 11}).description(""))
      ->type_name("9|10|11");
}

void OnRun(CLI::App& command, CommandContext& context, std::function<Outcome()> run) {
  command.callback([&context, run = std::move(run)] { context.run = run; });
}

}  // namespace corvessa::desk
