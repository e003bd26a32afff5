#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/observer.h"
#include "platform/outlook.h"

/// Where a mail that other programs wrote holds OpenPGP, other than at the beginning of its text.
namespace corvessa {

struct OpenPgpParts {
  /// The attachment that is the message itself, from 0: that of an encrypted PGP/MIME mail, or a
  /// text part behind the first one.
  std::optional<std::size_t> message = {};
  /// Its companion in PGP/MIME, which says "Version: 1" and nothing else.
  std::optional<std::size_t> version = {};
  /// An attachment is the signature of a PGP/MIME mail.
  bool has_signature = false;
  std::vector<std::string> names = {};
  std::vector<platform::UnreadPart> not_read = {};

  bool Any() const { return message || has_signature; }
};

/// By the names of the attachments and, where a name allows it, by their content. With text in the
/// body, an attachment is the message only beside its companion, or as a nameless text part.
OpenPgpParts FindOpenPgpParts(platform::MailItem& item, std::string_view body);

/// A text in three: what stands above its first protected block, the block, and what stands below.
struct ProtectedBlock {
  std::string_view before;
  std::string_view block;
  std::string_view after;
};

/// A block that begins a line below other text and has its end. The views live as long as the text.
std::optional<ProtectedBlock> FindLaterBlock(std::string_view text);

/// The text with "| " before each line and a line that says what this means; empty for blanks.
std::string MarkedAsUnprotected(std::string_view text);

}  // namespace corvessa
