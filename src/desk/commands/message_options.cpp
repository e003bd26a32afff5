#include "desk/commands/message_options.h"

#include <CLI/CLI.hpp>

#include "desk/commands/command_context.h"

namespace corvessa::desk {

void AddMessageOptions(CLI::App& command, CommandContext& context, MessageOptions& options) {
  command.add_option("file", options.file, "the mail file")->required()->type_name("FILE");
  command.add_flag("--json", context.json, "write one JSON object instead of text");
  command.add_flag("--trace", options.trace, "write what the add-in traces to the error output");
}

}  // namespace corvessa::desk
