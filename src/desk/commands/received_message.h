#pragma once

#include <string>

#include "desk/commands/command_context.h"
#include "desk/commands/shared_options.h"
#include "desk/desk_host.h"
#include "desk/mail/mail.h"

namespace corvessa::desk {

/// Loads a received mail and says so when it is not whole.
mail::Mail LoadReceived(const CommandContext& context, const std::string& file);

/// Opens it in a window, as one operation. Throws Failure (refused) when it does not stay open.
InspectorWindowPtr OpenReceived(DeskHost& host, const mail::Mail& mail);

/// Whether the open message holds text outside its protected block, of which only that block is
/// shown: nobody vouches for the rest.
bool HasUnshownText(const Item& item);

/// Says what of the open message the add-in passes over: such text, a protected block below other
/// text, and PGP/MIME.
void TellOfUnreadParts(const CommandContext& context, const Item& item);

/// The message that a command is about, open in the mailbox of the one who received it.
class ReceivedMessage {
 public:
  ReceivedMessage(CommandContext& context, const MessageOptions& options);
  ReceivedMessage(const ReceivedMessage&) = delete;
  ReceivedMessage& operator=(const ReceivedMessage&) = delete;

  /// As it came.
  const mail::Mail& Source() const { return mail_; }
  DeskHost& Host() { return host_; }
  const InspectorWindowPtr& Window() const { return window_; }
  void Close() { host_.Outlook().Close(window_); }

 private:
  mail::Mail mail_;
  Profile profile_;
  DeskHost host_;
  InspectorWindowPtr window_;
};

}  // namespace corvessa::desk
