#pragma once

#include <functional>
#include <string>

#include "commands/output_style.h"
#include "desk/mail/mail.h"
#include "desk/outlook/item.h"

namespace corvessa::desk {

class Answers;
class DeskHost;

struct SendChoices {
  /// Without these the add-in's own choice applies.
  bool no_encrypt = false;
  bool no_sign = false;
  /// As sent by another program: without a window, so the add-in asks with a form of its own.
  bool external = false;
};

/// The message as it leaves, and how it is protected.
struct SentMail {
  mail::Mail mail;
  bool encrypted = false;
  bool is_signed = false;
};

/// "encrypted and signed" and so on.
std::string ProtectionText(const SentMail& sent);

/// Good only if it is encrypted.
Mark ProtectionMark(const SentMail& sent);

/// A line that names the blind-copy recipients, who are not in the sent message; empty without any.
std::string BlindCopyText(const SentMail& sent);

/// Turns the choices into answers for the form shown when another program sends. They precede the
/// user's own answers for that form, which then must close it.
void AnswerExternalForm(const SendChoices& choices, Answers& answers);

/// Composes the draft in a window with the options bar (unless `external`), presses the buttons for
/// the choices, and sends it. `deliver` receives the sent message; if it throws, the message stays
/// unsent. Throws CommandError (refused) if the add-in cancels, if there are no recipients, or if
/// the message would leave in clear without the user's consent.
SentMail SendDraft(DeskHost& host, const mail::Mail& draft, const SendChoices& choices,
                   const std::function<void(const mail::Mail&)>& deliver);

/// Sends an item that is already composed. `base` supplies the mail's fields that an item does not
/// hold. `may_be_clear`: the user has agreed beforehand to send it in clear.
SentMail SendItem(DeskHost& host, const ItemPtr& item, const mail::Mail& base,
                  const std::function<void(const mail::Mail&)>& deliver, bool may_be_clear = false);

}  // namespace corvessa::desk
