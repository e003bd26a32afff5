#include "message/armour.h"

#include <cstddef>

#include "base/text.h"

namespace corvessa {
namespace {

constexpr std::string_view kMessageMarker = "-----BEGIN PGP MESSAGE-----";
constexpr std::string_view kSignedMessageMarker = "-----BEGIN PGP SIGNED MESSAGE-----";
/// Characters of the text in which a marker must stand whole.
constexpr std::size_t kExaminedCharacters = 72;

bool BeginsWith(std::string_view text, std::string_view marker) {
  return Trim(Left(StripLeadingBlankLines(text), kExaminedCharacters)).starts_with(marker);
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

}  // namespace corvessa
