#pragma once

#include <string>
#include <string_view>

#include "message/item_access.h"

/// What the add-in reads of a message and keeps in it: its people, its attachments, its armour, and
/// the choices of its sender. Only HasBlindCopies and what writes a choice throw; a failure of the
/// others is traced and gives the neutral result.
namespace corvessa {

std::string GetSenderName(const SafeItem& item);
/// Only a message being composed has no sender name.
bool IsReceived(const SafeItem& item);
/// Saves the item and reports whether it has blind-copy recipients. Throws what the item throws: a
/// failure must not pass for "none".
bool HasBlindCopies(const SafeItem& item);
/// Saves the item and returns its recipients; null on failure.
platform::RecipientsPtr GetSafeRecipients(const SafeItem& item);
/// Whether the file names of two attachments differ at most in case.
bool HasDuplicateFilenames(const SafeItem& item);
/// Whether the item's window shows the add-in's encryption and signing options.
bool IsOptionsBarPresent(const platform::MailItemPtr& item);

/// The text without leading blanks and leading CR LF line breaks. The view lives as long as the
/// text.
std::string_view StripLeadingBlankLines(std::string_view text);

/// Whether the text begins, after leading blanks and blank lines, with the armour of an encrypted
/// message. Looks at the first 72 characters only.
bool IsPGPMessage(std::string_view text);

/// The same for a clear-signed message.
bool IsPGPSignedMessage(std::string_view text);

/// Whether a text that is one of the two holds anything but blanks and line ends outside its first
/// block: behind it, or in the line that should be nothing but its marker. Reading the block drops
/// that.
bool HoldsMoreThanArmour(std::string_view text);

/// The add-in's own Internet header fields in an item, named "X-Nimbra-" and a key, which carry the
/// choices of a message being composed. They are read and written through the safe item and are not
/// saved: Outlook stores them with the item.
///
/// Writing throws if the field could not be written, because a lost choice is a mail sent otherwise
/// than its sender asked. Reading does not throw: a failure reads as an absent field, which asks
/// for encryption and signing.

/// Keys of the choices; set means that the sender does not want it.
inline constexpr std::string_view kNoEncrypt = "NoEncrypt";
inline constexpr std::string_view kNoSign = "NoSign";

/// Any header field, by its name.
void SetItemField(const SafeItem& item, std::string_view name, std::string_view value);
std::string GetItemField(const SafeItem& item, std::string_view name);

/// The name of the field for a key: hyphens replace its blanks.
std::string HeaderFieldName(std::string_view key);

/// The field for a key, "True" or "False".
void WriteHeaderFlag(const SafeItem& item, std::string_view key, bool flag);
bool ReadHeaderFlag(const SafeItem& item, std::string_view key);

}  // namespace corvessa
