#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>

#include "base/error.h"
#include "base/text.h"
#include "desk/commands/command_context.h"
#include "desk/commands/commands.h"
#include "desk/commands/shared_options.h"
#include "desk/commands/shell_session.h"
#include "desk/desk_host.h"
#include "desk/owner.h"
#include "desk/settings_store.h"
#include "desk/terminal/line_reader.h"

namespace corvessa::desk {
namespace {

struct ShellOptions {
  bool trace = false;
  int outlook = 9;
};

/// What did not work is told; the session goes on.
Outcome ObeyTelling(CommandContext& context, ShellSession& session, const std::string& line) {
  Outcome outcome = Outcome::kDone;
  try {
    outcome = session.Obey(line);
  } catch (const Failure& failure) {
    context.Tell(failure.message);
    outcome = failure.outcome;
  } catch (const Error& error) {
    context.Tell(WithoutFullStop(error.description));
    outcome = Outcome::kEnvironment;
  }
  context.out.flush();
  if (!context.out) Fail(Outcome::kEnvironment, "the output cannot be written");
  return outcome;
}

/// A person has seen what went wrong; a script learns of the first failure by the exit code.
Outcome RunShell(CommandContext& context, const ShellOptions& options) {
  Profile profile = context.OpenProfile();
  const Person owner = OwnerFor({}, SettingsStore(profile.Registry()));
  DeskHost host(profile, context.terminal, context.answers, context.messages,
                {.outlook_version = options.outlook, .owner = owner, .trace = options.trace});
  ShellSession session(context, host);
  LineReader reader(context.terminal, std::string(kProgram));
  Outcome outcome = Outcome::kDone;
  while (!session.HasEnded()) {
    const auto line = reader.Read("desk> ");
    if (!line) break;
    const Outcome of_line = ObeyTelling(context, session, *line);
    if (outcome == Outcome::kDone) outcome = of_line;
  }
  return context.terminal.IsThere() ? Outcome::kDone : outcome;
}

}  // namespace

void AddShellCommand(CLI::App& app, CommandContext& context) {
  const auto options = std::make_shared<ShellOptions>();
  auto* const shell = app.add_subcommand("shell", "an interactive session that stays connected");
  shell->add_flag("--trace", options->trace, "write what the add-in traces at the end");
  AddOutlookVersion(*shell, options->outlook);
  OnRun(*shell, context, [&context, options] { return RunShell(context, *options); });
}

}  // namespace corvessa::desk
