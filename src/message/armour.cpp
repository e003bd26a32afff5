#include "message/armour.h"

#include <cstddef>

#include "base/text.h"

namespace corvessa {
namespace {

constexpr std::string_view kMessageMarker = "-----BEGIN PGP MESSAGE-----";
constexpr std::string_view kSignedMessageMarker = "-----BEGIN PGP SIGNED MESSAGE-----";
constexpr std::string_view kMessageEnd = "-----END PGP MESSAGE-----";
constexpr std::string_view kSignatureEnd = "-----END PGP SIGNATURE-----";
constexpr std::string_view kLineEnds = "\r\n";
/// Characters of the text in which a marker must stand whole.
constexpr std::size_t kExaminedCharacters = 72;

bool BeginsWith(std::string_view text, std::string_view marker) {
  return Trim(Left(StripLeadingBlankLines(text), kExaminedCharacters)).starts_with(marker);
}

bool IsBlank(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

void RemoveLeadingBlanks(std::string_view& text) {
  const std::size_t first = text.find_first_not_of(' ');
  text.remove_prefix(first == std::string_view::npos ? text.size() : first);
}

}  // namespace

std::string_view StripLeadingBlankLines(std::string_view text) {
  RemoveLeadingBlanks(text);
  while (text.starts_with(kCrLf)) {
    text.remove_prefix(kCrLf.size());
    RemoveLeadingBlanks(text);
  }
  return text;
}

bool IsPGPMessage(std::string_view text) {
  return BeginsWith(text, kMessageMarker);
}

bool IsPGPSignedMessage(std::string_view text) {
  return BeginsWith(text, kSignedMessageMarker);
}

bool HoldsMoreThanArmour(std::string_view text) {
  const bool is_signed = IsPGPSignedMessage(text);
  if (!is_signed && !IsPGPMessage(text)) return false;
  const std::string_view marker = is_signed ? kSignedMessageMarker : kMessageMarker;
  const std::string_view end = is_signed ? kSignatureEnd : kMessageEnd;
  const std::string_view rest = StripLeadingBlankLines(text).substr(marker.size());
  if (!IsBlank(rest.substr(0, rest.find_first_of(kLineEnds)))) return true;
  auto at = rest.find(end);
  // A signed text may quote one: then "- " stands before it.
  while (at != std::string_view::npos && kLineEnds.find(rest[at - 1]) == std::string_view::npos) {
    at = rest.find(end, at + 1);
  }
  return at != std::string_view::npos && !IsBlank(rest.substr(at + end.size()));
}

}  // namespace corvessa
