#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "commands/account_store.h"
#include "desk/commands/command.h"
#include "desk/desk_host.h"
#include "desk/mail/mailbox.h"

/// A received message, opened in the mailbox of its recipient, and the replies to it.
namespace corvessa::desk {

struct MessageReport;

/// The mails of all the paths, see mail::FindMails.
std::vector<mail::MailPlace> FindMails(const std::vector<std::string>& paths);
/// One of them by its number, or the only one. Throws CommandError (wrong use).
mail::MailPlace ChooseMail(const std::vector<mail::MailPlace>& places, std::size_t number);
/// Prints a line a mail, or with --json an object.
Outcome ListMails(DeskContext& context, const std::vector<mail::MailPlace>& places);

/// Loads a mail and tells the user if it is truncated.
mail::Mail LoadReceived(const DeskContext& context, const mail::MailPlace& place);

/// The recipient of the mail whose mailbox it lies in: the secured address it was sent to, else the
/// address that signs, else the first; empty without secured addresses.
Person FindOwner(const mail::Mail& received, const AccountStore& accounts);

/// Opens the mail in a window, as one operation. Throws CommandError (refused) if the add-in closes
/// it.
InspectorWindowPtr OpenReceived(DeskHost& host, const mail::Mail& mail);

/// Tells the user of text behind the protected part, which is not shown.
void TellOfHiddenText(const DeskContext& context, const MessageReport& report);

/// The message that a command works on, open while this lives.
class ReceivedMessage {
 public:
  ReceivedMessage(DeskContext& context, const mail::MailPlace& place, bool trace);
  ReceivedMessage(const ReceivedMessage&) = delete;
  ReceivedMessage& operator=(const ReceivedMessage&) = delete;

  /// The mail file's content.
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

enum class Response { kReply, kReplyToAll, kForward };

/// Throws CommandError (refused) for a message that no draft may quote: one that is still
/// encrypted, or that was forged.
void RefuseToQuote(const MessageReport& report);

/// The draft that Outlook and the add-in make for the open message, with `text` above the quoted
/// one. Throws CommandError (refused) if the add-in cancels it.
ItemPtr Respond(DeskHost& host, const ItemPtr& original, Response response,
                const std::string& text);

/// The draft as a mail from the mailbox's owner.
mail::Mail ToDraftMail(const DeskHost& host, const ItemData& item);

}  // namespace corvessa::desk
