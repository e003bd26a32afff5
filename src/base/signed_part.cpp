#include "base/signed_part.h"

namespace corvessa {
namespace {

struct Line {
  std::size_t begin;
  std::size_t end;
};

/// The next line, from `from` on, that opens a part; a closing one ends the search.
std::optional<Line> NextOpening(std::string_view mail, const std::string& delimiter,
                                std::size_t from) {
  for (std::size_t at = mail.find(delimiter, from); at != std::string_view::npos;
       at = mail.find(delimiter, at + 1)) {
    if (at > 0 && mail[at - 1] != '\n') continue;
    std::size_t rest = at + delimiter.size();
    rest = mail.find_first_not_of(" \t\r", rest);
    if (rest == std::string_view::npos) return std::nullopt;
    if (mail[rest] == '\n') return Line{at, rest + 1};
    if (mail.substr(at + delimiter.size()).starts_with("--")) return std::nullopt;
  }
  return std::nullopt;
}

std::string WithCrLfForLf(std::string_view text) {
  std::string result;
  result.reserve(text.size() + text.size() / 32);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n' && (i == 0 || text[i - 1] != '\r')) result += '\r';
    result += text[i];
  }
  return result;
}

}  // namespace

std::optional<std::string> FirstPartBetween(std::string_view mail, std::string_view boundary) {
  if (boundary.empty()) return std::nullopt;
  const std::string delimiter = "--" + std::string(boundary);
  const auto first = NextOpening(mail, delimiter, 0);
  if (!first) return std::nullopt;
  const auto second = NextOpening(mail, delimiter, first->end);
  if (!second) return std::nullopt;
  std::size_t end = second->begin;
  if (end > first->end) --end;
  if (end > first->end && mail[end - 1] == '\r') --end;
  return WithCrLfForLf(mail.substr(first->end, end - first->end));
}

}  // namespace corvessa
