#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>

#include "base/error.h"
#include "base/text.h"
#include "commands/account_store.h"
#include "desk/commands/command.h"
#include "desk/commands/received_message.h"
#include "desk/commands/shell_session.h"
#include "desk/desk_host.h"
#include "desk/terminal/line_reader.h"

namespace corvessa::desk {
namespace {

struct ShellOptions {
  bool trace = false;
  int outlook = 9;
};

/// Runs one line and reports its errors; the session continues after them.
Outcome ExecuteLine(DeskContext& context, ShellSession& session, const std::string& line) {
  Outcome outcome = Outcome::kDone;
  try {
    outcome = session.Execute(line);
  } catch (const CommandError& error) {
    context.Tell(error.message);
    outcome = error.outcome;
  } catch (const Error& error) {
    context.Tell(WithoutFullStop(error.description));
    outcome = Outcome::kEnvironment;
  }
  context.out.flush();
  context.RequireOutput();
  return outcome;
}

/// A person has seen what failed; a script gets the first failure as the exit code.
Outcome RunShell(DeskContext& context, const ShellOptions& options) {
  if (context.json) {
    throw CommandError{Outcome::kWrongUse,
                       "the shell writes text only; use --json with other commands"};
  }
  Profile profile = context.OpenProfile();
  const Person owner = FindOwner({}, AccountStore(profile.Registry()));
  DeskHost host(profile, context.terminal, context.answers, context.messages,
                {.outlook_version = options.outlook, .owner = owner, .trace = options.trace});
  ShellSession session(context, host);
  LineReader reader(context.terminal, std::string(kProgram));
  reader.complete = [&session](const std::string& typed) { return session.Complete(typed); };
  Outcome outcome = Outcome::kDone;
  while (!session.HasEnded()) {
    const auto line = reader.Read("desk> ");
    if (!line) break;
    const Outcome of_line = ExecuteLine(context, session, *line);
    if (outcome == Outcome::kDone) outcome = of_line;
  }
  return context.terminal.IsThere() ? Outcome::kDone : outcome;
}

}  // namespace

void AddShellCommand(CLI::App& app, DeskContext& context) {
  const auto options = std::make_shared<ShellOptions>();
  auto* const shell = app.add_subcommand("shell", "run an interactive session");
  shell->add_flag("--trace", options->trace,
                  "write the add-in's trace to standard error at the end");
  AddOutlookOption(*shell, options->outlook);
  OnRun(*shell, context, [&context, options] { return RunShell(context, *options); });
}

}  // namespace corvessa::desk
