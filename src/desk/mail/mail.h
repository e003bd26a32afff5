#pragma once

#include <cstddef>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "desk/content/content.h"

/// A mail as a plain value.
namespace corvessa::desk::mail {

/// One address of a header; both texts are UTF-8. A mailbox may lack either of them. After loading
/// an international domain is in its ASCII form.
struct Mailbox {
  std::string name;
  std::string address;

  bool operator==(const Mailbox&) const = default;
};

/// A header field (or a content type's parameter) with its decoded value on one line.
struct HeaderField {
  std::string name;
  std::string value;

  bool operator==(const HeaderField&) const = default;
};

struct Attachment {
  /// The name as the sender wrote it; only for showing.
  std::string display_name;
  /// The name that travels. After loading it is never empty and never leads out of a folder: no
  /// separators, no control characters, at most 220 bytes. A part without a name gets its subject
  /// (an embedded mail) or ATT00001.txt, ATT00002.dat… by its position among the attachments.
  std::string file_name;
  /// The embedded mail had no name of its own.
  bool is_named_by_subject = false;
  /// "type/subtype" in lower case.
  std::string content_type = "application/octet-stream";
  /// The content type's parameters other than its name, such as charset or method.
  std::vector<HeaderField> parameters;
  /// Without angle brackets; empty for none.
  std::string content_id;
  /// Belongs to the HTML body (a picture in it) rather than beside it.
  bool is_inline = false;
  /// Null for no bytes; never null after loading.
  ContentPtr data;
  /// See Mail::signed_parts.
  std::vector<std::size_t> signed_by;
  bool is_signature = false;
};

/// A multipart/signed of PGP/MIME.
struct SignedPart {
  /// The bytes that are signed, with CRLF line ends.
  std::string content;
  std::string signature;
  /// In the header of what is signed.
  std::optional<std::string> subject;
};

/// Copies share the attachments' bytes.
struct Mail {
  /// The first author. No address while a draft has no sender yet.
  Mailbox from;
  std::vector<Mailbox> to;
  std::vector<Mailbox> cc;
  std::vector<Mailbox> bcc;
  std::vector<Mailbox> reply_to;
  std::string subject;
  std::optional<std::time_t> date;
  /// Message identifiers without angle brackets.
  std::string message_id;
  std::string in_reply_to;
  std::vector<std::string> references;
  /// Every other field, in the order of the header, except MIME's own.
  std::vector<HeaderField> fields;

  /// UTF-8 with CRLF line ends, exactly as long as what was sent: a missing last line end stays
  /// missing. Each is empty when the mail has no such body; neither is derived from the other.
  std::string body_text;
  std::string body_html;
  /// What the mail declares for the text, as it stands there.
  std::string body_charset;

  std::vector<Attachment> attachments;

  /// Only after ParseEntity: the parts that are signed by PGP/MIME, and which of them each body and
  /// attachment lies in (places in signed_parts).
  std::vector<SignedPart> signed_parts;
  std::vector<std::size_t> text_signed_by;
  std::vector<std::size_t> html_signed_by;

  /// The file, byte for byte; null for a mail in memory.
  ContentPtr source;

  /// The file is damaged: it ended early (a cut header or a multipart without its end), has lines
  /// in a header that are not a field, nests too deeply to be read whole or holds a part that is
  /// not in the encoding it declares. The mail is what could be read.
  bool incomplete = false;
};

}  // namespace corvessa::desk::mail
