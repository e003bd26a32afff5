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

bool IsAddress(std::string_view text) {
  const auto at = text.find('@');
  return at != std::string_view::npos && at > 0 && at + 1 < text.size() &&
         text.find('@', at + 1) == std::string_view::npos &&
         text.find_first_of("<>,;\"") == std::string_view::npos &&
         std::ranges::all_of(text, IsPlain);
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
