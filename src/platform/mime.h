#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Mail in MIME form, as far as the add-in reads it itself: what an encrypted message holds, and
/// what a signature covers.
namespace corvessa::platform {

/// A signed part (multipart/signed of RFC 3156).
struct MimeSignature {
  /// The bytes that the signature covers, with CRLF line ends.
  std::string content;
  std::string signature;
  /// The subject in the header of what is signed.
  std::optional<std::string> subject = {};
};

/// The signatures that cover a part, as places in MimeMessage::signatures.
using MimeCoverage = std::vector<std::size_t>;

struct MimeFile {
  /// For showing; never empty, whatever the sender wrote.
  std::string name;
  /// "type/subtype" in lower case.
  std::string content_type;
  std::string bytes;
  MimeCoverage signed_by = {};
  /// It is one of the signatures itself.
  bool is_signature = false;
};

/// A mail or a part of one, divided as mail programs show it: the first text is the text, all else
/// is a file. Nothing is left out, and nothing is fetched.
struct MimeMessage {
  /// The header names a content type. Anything else is one text.
  bool is_mime = false;
  std::optional<std::string> subject = {};
  /// UTF-8 with CRLF line ends. HTML only if there is no plain text, and then as text.
  std::string text = {};
  MimeCoverage text_signed_by = {};
  std::vector<MimeFile> files = {};
  std::vector<MimeSignature> signatures = {};
};

class MimeReader {
 public:
  virtual ~MimeReader() = default;
  /// Reads whatever it gets, as far as that can be read. What a signature covers is read from
  /// exactly the bytes in MimeSignature::content.
  virtual MimeMessage Read(std::string_view mail) = 0;
};

}  // namespace corvessa::platform
