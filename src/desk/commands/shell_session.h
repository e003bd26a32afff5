#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "desk/commands/command.h"
#include "desk/commands/received_message.h"
#include "desk/desk_host.h"
#include "desk/mail/mail.h"
#include "desk/terminal/line_reader.h"

namespace corvessa::desk {

/// An interactive session: Outlook with the add-in, open until the user leaves it. Commands work on
/// the front window.
class ShellSession {
 public:
  ShellSession(DeskContext& context, DeskHost& host);

  /// Executes one line. Throws CommandError or Error if it fails; returns kRefused if it showed a
  /// message that could not be decrypted or has a bad signature.
  Outcome Execute(const std::string& line);
  bool HasEnded() const { return has_ended_; }
  /// What Tab offers: commands, files, and the captions of the front window's buttons.
  Completion Complete(const std::string& typed) const;

 private:
  using Arguments = std::vector<std::string>;
  /// What Tab offers behind a command.
  enum class Offer { kNothing, kFiles, kButtons, kCommands };
  struct Command {
    const char* name = nullptr;
    const char* usage = nullptr;
    const char* help = nullptr;
    std::size_t least = 0;
    std::size_t most = 0;
    void (ShellSession::*run)(const Arguments&) = nullptr;
    Offer offer = Offer::kNothing;
  };
  static const std::vector<Command>& Commands();
  /// By its name in any case; "?" is "help". Null if there is none.
  static const Command* FindCommand(std::string_view typed);
  static const Command& RequireCommand(std::string_view typed);
  static std::vector<std::string> CommandNames();

  void Open(const Arguments& arguments);
  void Compose(const Arguments& arguments);
  void Show(const Arguments& arguments);
  void Save(const Arguments& arguments);
  void Close(const Arguments& arguments);
  void Windows(const Arguments& arguments);
  void Bring(const Arguments& arguments);
  void Bars(const Arguments& arguments);
  void Click(const Arguments& arguments);
  void Reply(const Arguments& arguments);
  void ReplyAll(const Arguments& arguments);
  void Forward(const Arguments& arguments);
  void Send(const Arguments& arguments);
  void Settings(const Arguments& arguments);
  void Forget(const Arguments& arguments);
  void Wait(const Arguments& arguments);
  void Help(const Arguments& arguments);
  void Quit(const Arguments& arguments);

  void Answer(Response response, const Arguments& arguments);
  void PrintOpen(const InspectorWindowPtr& window);
  InspectorWindowPtr Front() const;
  std::vector<std::string> ButtonCaptions() const;

  DeskContext& context_;
  DeskHost& host_;
  /// The mail file of each draft opened with "compose".
  std::map<ItemPtr, mail::Mail> composed_;
  std::vector<std::string> read_files_;
  Outcome outcome_ = Outcome::kDone;
  bool has_ended_ = false;
};

}  // namespace corvessa::desk
