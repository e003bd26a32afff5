#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Header fields and encodings of MIME.
namespace corvessa::mime {

struct Header {
  /// Names in lower case; values on one line, otherwise as they stand.
  std::vector<std::pair<std::string, std::string>> fields;
  /// What follows the header.
  std::string_view body;

  /// The first field of that lower-case name; null when there is none.
  const std::string* Find(std::string_view name) const;
};

/// Splits an entity. Lines that are no field are left out; without any field, all is body.
Header ReadHeader(std::string_view entity);

/// A structured value such as `text/plain; charset="utf-8"`.
struct Parameters {
  /// In lower case.
  std::string value;
  /// By lower-case name, decoded (RFC 2231, and RFC 2047 where senders misuse it).
  std::map<std::string, std::string> all;

  std::string Get(const std::string& name) const;
};
Parameters ParseParameters(std::string_view raw);

/// A text with encoded words (RFC 2047).
std::string DecodeWords(std::string_view raw);

/// Bytes in a charset of that name, which may be unknown or empty, as UTF-8.
std::string TextIn(std::string_view bytes, const std::string& charset);

/// A body from base64 or quoted-printable; any other encoding leaves it as it is.
std::string DecodeTransfer(std::string_view body, std::string_view lower_encoding);

}  // namespace corvessa::mime
