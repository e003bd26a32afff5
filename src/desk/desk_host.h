#pragma once

#include <cstddef>
#include <filesystem>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>

#include "addin/connect.h"
#include "desk/item_facts.h"
#include "desk/mail/mime_reader.h"
#include "desk/outlook/outlook_model.h"
#include "desk/profile/profile.h"
#include "desk/terminal/signals.h"
#include "desk/terminal/terminal_ui.h"
#include "platform/engine.h"

namespace corvessa::desk {

struct HostOptions {
  /// 9, 10 or 11.
  int outlook_version = 9;
  /// The owner of the mailbox.
  Person owner = {};
  /// Write the add-in's trace of this time to the messages at the end.
  bool trace = false;
};

/// Outlook with the add-in on a profile. The constructor opens one folder window and connects the
/// add-in, the destructor disconnects it. One at a time: the back end is process-wide. The desk
/// talks to the add-in only as Outlook does, through Connect, events and clicks.
class DeskHost {
 public:
  /// The arguments must outlive it.
  DeskHost(Profile& profile, Terminal& terminal, Answers& answers, std::ostream& messages,
           const HostOptions& options = {});
  ~DeskHost();
  DeskHost(const DeskHost&) = delete;
  DeskHost& operator=(const DeskHost&) = delete;

  OutlookModel& Outlook() { return outlook_; }
  TerminalUi& Ui() { return ui_; }
  /// The local file behind a path of the add-in.
  std::filesystem::path LocalPath(std::string_view windows_path) const {
    return profile_.Files().LocalPath(windows_path);
  }
  const Person& Owner() const { return owner_; }
  /// What the add-in told of an item.
  ItemFacts& Facts(const ItemPtr& item) { return facts_.MessageOf(item); }
  /// See SendRecorder::Of.
  SendFacts& FactsOfSend(const ItemPtr& item) { return facts_.Of(item); }
  Profile& UsedProfile() const { return profile_; }
  /// Whether a signal to end the program has come in since the operation began, or before it
  /// without being noticed.
  bool IsInterrupted() const;

  /// Begins what a user would call one operation: every passphrase may be tried again.
  void BeginOperation();
  /// Opens the settings dialog by the add-in's toolbar button and runs it. Throws CommandError
  /// (refused) if the button is missing.
  void RunSettings();
  /// Forgets all passphrases, those of the command line as well. The add-in has no button for it,
  /// so this is the one call past Outlook's.
  void ForgetPassphrases();
  /// Runs each open modeless window of the add-in; without a user, closes it.
  void RunOpenForms();

 private:
  class Trace;
  class PageOpener;

  /// Signals take effect after everything has been cleaned up.
  CaughtSignals caught_;
  CleanUpAction clean_up_action_;
  Profile& profile_;
  Terminal& terminal_;
  std::unique_ptr<Trace> trace_;
  Answers& answers_;
  Person owner_;
  int interrupts_before_ = 0;
  TerminalUi ui_;
  std::unique_ptr<platform::Shell> page_opener_;
  FactStore facts_;
  std::unique_ptr<platform::EngineFactory> engine_;
  mail::MimeReader mime_;
  OutlookModel outlook_;
  Connect connect_;
};

}  // namespace corvessa::desk
