#include "engine/addresses.h"

#include <algorithm>

#include "base/text.h"
#include "platform/engine.h"

namespace corvessa::engine {
namespace {

// A letter from outside ASCII can look like another one, or like nothing at all, and would make two
// addresses of what a user sees as one.
bool IsPlain(char c) {
  return c > ' ' && c < '\x7f';
}

bool IsAlphanumeric(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsDomain(std::string_view text) {
  const bool has_empty_part =
      text.starts_with('.') || text.ends_with('.') || text.find("..") != std::string_view::npos;
  return !text.empty() && !has_empty_part && std::ranges::all_of(text, [](char c) {
    return IsAlphanumeric(c) || c == '-' || c == '.';
  });
}

// Quotes, brackets and the like around an address would be one to a reader, but not to a
// comparison.
bool IsLocalPart(std::string_view text) {
  return !text.empty() && (IsAlphanumeric(text.front()) || text.front() == '_') &&
         std::ranges::all_of(text, [](char c) {
           return IsPlain(c) &&
                  std::string_view("()<>[]:;@\\,\"`*").find(c) == std::string_view::npos;
         });
}

bool IsAddress(std::string_view text) {
  const auto at = text.find('@');
  return at != std::string_view::npos && IsLocalPart(text.substr(0, at)) &&
         !text.substr(0, at).ends_with('\'') && IsDomain(text.substr(at + 1));
}

}  // namespace

std::string NormalAddress(std::string_view address) {
  std::string normal(Trim(address));
  for (char& c : normal) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return normal;
}

std::string AccountAddress(const platform::EngineAccount* account) {
  return account ? NormalAddress(account->address) : std::string();
}

std::string AddressOf(std::string_view user_id) {
  std::string address = NormalAddress(user_id);
  if (address.ends_with('>')) {
    const auto open = address.rfind('<');
    if (open == std::string::npos) return {};
    address = address.substr(open + 1, address.size() - open - 2);
  }
  return IsAddress(address) ? address : std::string();
}

}  // namespace corvessa::engine
