#pragma once

#include <cstddef>
#include <filesystem>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>

#include "addin/connect.h"
#include "desk/outlook/outlook_model.h"
#include "desk/profile/profile.h"
#include "desk/terminal/signals.h"
#include "desk/terminal/sudden_end.h"
#include "desk/terminal/terminal_ui.h"
#include "platform/engine.h"

namespace corvessa::desk {

struct HostOptions {
  /// 9, 10 or 11.
  int outlook_version = 9;
  /// The mailbox's owner.
  Person owner = {};
  /// Write what the add-in traces meanwhile to the messages at the end.
  bool trace = false;
};

/// Outlook with the add-in in it, on a profile, for one at a time: connected in the constructor,
/// with one folder window open; disconnected at the end. The add-in is met only as Outlook meets
/// it: Connect, events, clicks.
class DeskHost {
 public:
  /// All must outlive it.
  DeskHost(Profile& profile, Terminal& terminal, Answers& answers, std::ostream& messages,
           HostOptions options = {});
  ~DeskHost();
  DeskHost(const DeskHost&) = delete;
  DeskHost& operator=(const DeskHost&) = delete;

  OutlookModel& Outlook() { return outlook_; }
  TerminalUi& Ui() { return ui_; }
  /// The local file that a path of the add-in means.
  std::filesystem::path LocalPath(std::string_view windows_path) const {
    return profile_.Files().LocalPath(windows_path);
  }
  const Person& Owner() const { return owner_; }
  /// Signals that were to end the program have come in since the operation began, or before it
  /// with nobody to notice.
  bool IsInterrupted() const;

  /// Begins what a user would call one operation: every passphrase may be tried afresh. Gives the
  /// place in Ui().Boxes() of the first box of the operation.
  std::size_t BeginOperation();
  /// Opens the settings dialog by the add-in's toolbar button and lets the user have it. Throws
  /// Failure (refused) when there is no such button.
  void RunSettings();
  /// Lets the user have each window of the add-in that is open without blocking, or closes it when
  /// nobody can answer it.
  void RunOpenForms();

 private:
  class Trace;

  /// Signals wait until everything is tidied up.
  CaughtSignals caught_;
  TidyFirst tidy_first_;
  Profile& profile_;
  Terminal& terminal_;
  std::unique_ptr<Trace> trace_;
  Answers& answers_;
  Person owner_;
  int interrupts_before_ = 0;
  TerminalUi ui_;
  std::unique_ptr<platform::EngineFactory> engine_;
  OutlookModel outlook_;
  Connect connect_;
};

}  // namespace corvessa::desk
