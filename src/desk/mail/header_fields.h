#pragma once

#include <ctime>
#include <gmime/gmime.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Header fields: which there are, what stands in one, and how one is written.
namespace corvessa::desk::mail {

struct Mailbox;

/// What a header field is to a Mail: one of its members, MIME's own or any other.
enum class FieldKind {
  kFrom,
  kTo,
  kCc,
  kBcc,
  kReplyTo,
  kSubject,
  kDate,
  kMessageId,
  kInReplyTo,
  kReferences,
  kMime,
  kOther,
};

FieldKind FieldKindOf(std::string_view name);

/// Whether a field of kind kOther names blind-copy recipients, so that it must not travel.
bool NamesBlindCopies(std::string_view name);

/// Whether a header can hold a field of this name: printable ASCII without blank and colon.
bool IsFieldName(std::string_view name);

enum class FieldFault { kNone, kNul, kRunaway };

/// kRunaway: a header of the mail, of a part or of an embedded mail would keep GMime busy for
/// minutes or exhaust its stack or memory: groups nested in thousands, thousands of entries without
/// an address or of encoded words without an end, tens of thousands of fields in the mail's own
/// header, megabytes of headers. No mail program writes such a header. Else kNul: the mail's own
/// header holds a NUL, behind which GMime would see nothing, not even a recipient. Reads the stream
/// once and leaves it at its start.
FieldFault FindFieldFault(GMimeStream* stream);

// Decoding: from a field's raw text, folded or not, encoded or raw 8-bit, to UTF-8 without control
// characters, so that nothing decoded can act as a line of its own.

std::string DecodeText(std::string_view raw);
/// All mailboxes, also those in groups. Text that is not a mailbox becomes one without an address.
std::vector<Mailbox> DecodeMailboxes(std::string_view raw);
/// Without angle brackets and without anything that is not an identifier.
std::vector<std::string> DecodeIdentifiers(std::string_view raw);
std::optional<std::time_t> DecodeDate(const std::string& raw);

/// The same header text on one line, raw 8-bit as UTF-8, with adjacent base64 words of one
/// character set joined to one word. GMime 3.2.13 stops at the padding of the first of them and
/// drops all that follow.
std::string JoinEncodedWords(std::string_view raw);

/// Valid UTF-8 with control characters (line ends too) as blanks, trimmed.
std::string OneLine(std::string_view text);

// Encoding: to 7-bit text on one line, with blanks where it may be folded.

/// Plain ASCII as it is. Any other text, and text that a reader would mistake or that could not be
/// folded, as encoded words.
std::string EncodeText(std::string_view text);

/// Throws Error (kInvalidArgument) for an address that would not be read back as this one address.
std::string EncodeMailbox(const Mailbox& mailbox);

/// "<id>"; empty for an identifier that is empty or too long for a line.
std::string EncodeIdentifier(std::string_view identifier);

/// A whole field with its line end, folded at single blanks to 76 characters where possible.
std::string FoldedField(std::string_view name, std::string_view value);

}  // namespace corvessa::desk::mail
