#include "desk/desk_host.h"

#include <cstdlib>
#include <ostream>

#include "addin/trace_log.h"
#include "base/error.h"
#include "base/guard.h"
#include "base/text.h"
#include "commands/command_error.h"
#include "crypto/frm_timer.h"
#include "desk/engine_setup.h"
#include "desk/profile/profile_files.h"
#include "desk/settings_store.h"
#include "desk/terminal/answers.h"
#include "desk/terminal/terminal.h"
#include "platform/host.h"
#include "settings/edition.h"
#include "ui/controls.h"
#include "ui/form.h"

namespace corvessa::desk {
namespace {

constexpr std::string_view kTraceSwitch = "LogDebuggingInfo";
/// The beginning of every tag of the add-in's buttons.
constexpr std::string_view kAddInTag = "CorvessaPro_OL.";

std::string VersionText(int major) {
  switch (major) {
    case 10:
      return "10.0.0.2627";
    case 11:
      return "11.0.0.5510";
    default:
      return "9.0.0.2711";
  }
}

OutlookOptions OutlookSetup(Profile& profile, const HostOptions& options) {
  return {.version = VersionText(options.outlook_version),
          .map_path = [&profile](std::string_view path) { return profile.Files().LocalPath(path); },
          .clipboard = &profile.Clipboard(),
          .owner = options.owner};
}

engine::EngineConfig EngineSetup(Profile& profile, TerminalUi& ui) {
  engine::EngineConfig setup = EngineSetup(profile);
  setup.on_bad_adk_file = [&ui](std::string_view complaint) {
    ui.Report(WithoutFullStop(ForDisplay(complaint)));
  };
  return setup;
}

}  // namespace

/// Switches the trace log on while it lives and then prints what was traced.
class DeskHost::Trace {
 public:
  Trace(Profile& profile, std::ostream& messages)
      : profile_(profile), messages_(messages), start_(Length()) {
    SettingsStore settings(profile_.Registry());
    was_on_ = settings.Get(kTraceSwitch);
    settings.Set(kTraceSwitch, "1");
  }
  ~Trace() {
    Ignoring([&] {
      SettingsStore(profile_.Registry()).Set(kTraceSwitch, was_on_);
      if (Length() <= start_) return;
      const std::string text = profile_.Files().Read(Debug_Info::kTraceFile);
      messages_ << ForDisplayLines(std::string_view(text).substr(start_)) << std::flush;
    });
  }
  Trace(const Trace&) = delete;
  Trace& operator=(const Trace&) = delete;

 private:
  std::size_t Length() {
    auto& files = profile_.Files();
    return files.FileExists(Debug_Info::kTraceFile)
               ? static_cast<std::size_t>(files.Length(Debug_Info::kTraceFile))
               : 0;
  }

  Profile& profile_;
  std::ostream& messages_;
  std::size_t start_;
  std::string was_on_;
};

/// Tells the user what became of a page: the browser's window may be behind this one, or there may
/// be no browser.
class DeskHost::PageOpener final : public platform::Shell {
 public:
  PageOpener(platform::Shell& shell, Terminal& terminal, TerminalUi& ui)
      : shell_(shell), terminal_(terminal), ui_(ui) {}
  void OpenPage(std::string_view url) override {
    try {
      shell_.OpenPage(url);
    } catch (const Error& error) {
      ui_.Report(ForDisplay(WithoutFullStop(error.description)));
      throw;
    }
    terminal_.Write("Opened " + ForDisplay(url) + " in the browser.\n");
  }

 private:
  platform::Shell& shell_;
  Terminal& terminal_;
  TerminalUi& ui_;
};

DeskHost::DeskHost(Profile& profile, Terminal& terminal, Answers& answers, std::ostream& messages,
                   const HostOptions& options)
    : clean_up_action_([folder = profile.TemporaryFolder()] { RemoveTemporaryLeftovers(folder); }),
      profile_(profile),
      terminal_(terminal),
      trace_(options.trace ? std::make_unique<Trace>(profile, messages) : nullptr),
      answers_(answers),
      owner_(options.owner),
      ui_(terminal, answers, {.messages = messages}),
      page_opener_(std::make_unique<PageOpener>(profile.Shell(), terminal, ui_)),
      engine_(engine::CreateEngineFactory(EngineSetup(profile, ui_))),
      outlook_(OutlookSetup(profile, options)) {
  ::setenv("TMPDIR", profile.TemporaryFolder().c_str(), 1);
  platform::InstallHost({outlook_.Cdo(), profile.Clipboard(), profile.Clock(), *engine_,
                         profile.Files(), profile.Inet(), profile.Pictures(), outlook_.Redemption(),
                         profile.Registry(), *page_opener_, ui_, profile.Product(), &facts_,
                         &mime_});
  outlook_.AddExplorer();
  connect_.AddinInstance_OnConnection(outlook_.Application());
  // Windows that the start has opened come before anything else.
  RunOpenForms();
}

DeskHost::~DeskHost() {
  connect_.AddinInstance_OnDisconnection();
  platform::RemoveHost();
}

void DeskHost::BeginOperation() {
  answers_.BeginRound();
  interrupts_before_ = terminal_.Interrupts();
}

bool DeskHost::IsInterrupted() const {
  return terminal_.IsInterrupted() || terminal_.Interrupts() != interrupts_before_;
}

void DeskHost::ForgetPassphrases() {
  ForgetNow();
  answers_.ForgetPassphrases();
}

void DeskHost::RunOpenForms() {
  for (const FormPtr& form : LoadedForms()) {
    if (form->IsVisible() && !form->IsModal()) ui_.RunForm(*form);
  }
}

void DeskHost::RunSettings() {
  const auto explorers = outlook_.Explorers();
  for (const ExplorerWindowPtr& explorer : explorers) {
    const ButtonPtr button = explorer->Bars().FindTagged(kAddInTag);
    if (!button) continue;
    button->Click();
    return RunOpenForms();
  }
  throw CommandError{Outcome::kRefused, "the add-in's toolbar button is missing"};
}

}  // namespace corvessa::desk
