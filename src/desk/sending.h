#pragma once

#include <functional>
#include <string>

#include "desk/mail/mail.h"
#include "desk/outlook/item.h"

namespace corvessa::desk {

class Answers;
class DeskHost;

struct SendChoices {
  /// Without the two the add-in's own choice stands.
  bool no_encrypt = false;
  bool no_sign = false;
  /// Sent by another program: no window, so that the add-in asks by a form of its own.
  bool external = false;
};

/// What travels and how it is protected.
struct SentMail {
  mail::Mail mail;
  bool encrypted = false;
  bool is_signed = false;
};

/// "encrypted and signed" and so on.
std::string ProtectionText(const SentMail& sent);

/// Who gets a copy and is not named in what travels, as a line for the user; empty when nobody.
std::string BlindCopyText(const SentMail& sent);

/// Turns the choices into answers of the form that asks when another program sends. They come
/// before the user's own answers for that form, which then have to end it.
void AnswerExternalForm(const SendChoices& choices, Answers& answers);

/// Composes the draft in a window with the options bar (unless it is external), presses the buttons
/// for the choices, and sends it. `deliver` gets what travels; what it throws leaves the message
/// unsent. Throws Failure (refused) when the add-in cancels, when nobody is to get it, or when it
/// would travel in clear without the user having agreed.
SentMail SendDraft(DeskHost& host, const mail::Mail& draft, const SendChoices& choices,
                   const std::function<void(const mail::Mail&)>& deliver);

/// The same for an item that is composed already; `base` is what its mail has beside it. With
/// `may_be_clear` the user has agreed beforehand.
SentMail SendItem(DeskHost& host, const ItemPtr& item, const mail::Mail& base,
                  const std::function<void(const mail::Mail&)>& deliver, bool may_be_clear = false);

}  // namespace corvessa::desk
