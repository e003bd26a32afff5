#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <ostream>

#include "base/error.h"
#include "base/text.h"
#include "desk/commands/command.h"
#include "desk/desk_host.h"
#include "desk/engine_setup.h"
#include "desk/printing.h"
#include "desk/settings_store.h"

namespace corvessa::desk {
namespace {

/// One setting by its name in any case, or all of them without a name.
nlohmann::json Describe(const SettingsStore& settings, const std::string& name) {
  auto json = nlohmann::json::object();
  for (const std::string_view each : SettingsStore::Names()) {
    if (name.empty() || LCase(name) == LCase(each)) json[std::string(each)] = settings.Get(each);
  }
  if (json.empty()) settings.Get(name);
  return json;
}

Outcome Get(DeskContext& context, const std::string& name) {
  Profile profile = context.OpenProfile();
  const SettingsStore settings(profile.Registry());
  if (context.json) {
    context.WriteJson(Describe(settings, name));
    return Outcome::kDone;
  }
  if (!name.empty()) {
    context.out << ForDisplay(settings.Get(name)) << "\n";
    return Outcome::kDone;
  }
  for (const std::string_view each : SettingsStore::Names()) {
    context.out << each << " = " << ForDisplay(settings.Get(each)) << "\n";
  }
  return Outcome::kDone;
}

Outcome Set(DeskContext& context, const std::string& name, const std::string& value) {
  Profile profile = context.OpenProfile();
  SettingsStore settings(profile.Registry());
  const std::string earlier = settings.Get(name);
  settings.Set(name, value);
  if (LCase(name).starts_with("engine")) {
    try {
      OpenEngine(profile);
    } catch (const Error& error) {
      // With this value the add-in could not start.
      settings.Set(name, earlier);
      throw CommandError{Outcome::kWrongUse, WithoutFullStop(error.description)};
    }
  }
  if (context.json) context.WriteJson(Describe(settings, name));
  return Outcome::kDone;
}

Outcome RunSettings(DeskContext& context) {
  Profile profile = context.OpenProfile();
  DeskHost host(profile, context.terminal, context.answers, context.messages);
  return ReportingErrors(context, host, [&] {
    host.RunSettings();
    profile.Registry().Save();
    if (context.json) {
      nlohmann::json json{{"resultCode", static_cast<int>(Outcome::kDone)}};
      AddBoxes(json, host.Ui().Boxes());
      context.WriteJson(json);
    }
    return Outcome::kDone;
  });
}

}  // namespace

void AddSettingsCommands(CLI::App& app, DeskContext& context) {
  struct Options {
    std::string name;
    std::string value;
  };
  OnRun(*app.add_subcommand("settings", "open the add-in's settings dialog"), context,
        [&context] { return RunSettings(context); });
  const auto options = std::make_shared<Options>();

  auto* const set = app.add_subcommand("set", "change a setting");
  set->add_option("name", options->name, "the setting")->required()->type_name("SETTING");
  set->add_option("value", options->value, "its value")->required()->type_name("VALUE");
  OnRun(*set, context, [&context, options] { return Set(context, options->name, options->value); });
  auto* const get = app.add_subcommand("get", "show a setting, or all of them");
  get->add_option("name", options->name, "the setting")->type_name("SETTING");
  OnRun(*get, context, [&context, options] { return Get(context, options->name); });
}

}  // namespace corvessa::desk
