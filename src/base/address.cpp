#include "base/address.h"

#include <algorithm>

#include "base/text.h"

namespace corvessa {
namespace {

bool IsAlphanumeric(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z');
}

bool IsLocalPart(std::string_view text) {
  const bool is_plain = std::ranges::all_of(text, [](char c) {
    return c > ' ' && c < '\x7f' &&
           std::string_view("()<>[]:;@\\,\"`*").find(c) == std::string_view::npos;
  });
  return is_plain && !text.empty() && (IsAlphanumeric(text.front()) || text.front() == '_') &&
         !text.ends_with('\'');
}

}  // namespace

std::string NormalAddress(std::string_view address) {
  std::string normal(Trim(address));
  for (char& c : normal) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return normal;
}

bool IsAddress(std::string_view normal) {
  const auto at = normal.find('@');
  return at != std::string_view::npos && IsLocalPart(normal.substr(0, at)) &&
         IsDomain(normal.substr(at + 1));
}

bool IsDomain(std::string_view text) {
  const bool has_empty_part =
      text.starts_with('.') || text.ends_with('.') || text.find("..") != std::string_view::npos;
  return text.find('.') != std::string_view::npos && !has_empty_part &&
         std::ranges::all_of(text,
                             [](char c) { return IsAlphanumeric(c) || c == '-' || c == '.'; });
}

std::string_view DomainOf(std::string_view address) {
  const auto at = address.rfind('@');
  return at == std::string_view::npos ? address : address.substr(at + 1);
}

}  // namespace corvessa
