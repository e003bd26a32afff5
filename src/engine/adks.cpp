#include "engine/adks.h"

#include <algorithm>

#include "base/address.h"
#include "base/text.h"
#include "engine/local_files.h"
#include "engine/status.h"

namespace corvessa::engine {
namespace {

constexpr std::size_t kMaxFileSize = std::size_t{1} << 20;

std::string Trimmed(std::string_view text) {
  return NormalAddress(Trim(text, " \t\r"));
}

/// The addresses of a line's list; empty when one of them is none.
std::vector<std::string> Addresses(std::string_view list) {
  std::vector<std::string> addresses;
  for (std::size_t begin = 0; begin <= list.size();) {
    const auto end = std::min(list.find(',', begin), list.size());
    const std::string address = Trimmed(list.substr(begin, end - begin));
    if (!IsAddress(address)) return {};
    addresses.push_back(address);
    begin = end + 1;
  }
  return addresses;
}

}  // namespace

std::vector<std::string> FindAdks(const std::filesystem::path& file, std::string_view who) {
  std::error_code ignored;
  if (!std::filesystem::exists(file, ignored)) return {};
  const std::string wanted = Trimmed(who);
  const std::string text = ReadWholeFile(file, kMaxFileSize);
  std::vector<std::string> found;
  std::size_t number = 0;
  for (std::size_t begin = 0; begin < text.size();) {
    const auto end = std::min(text.find('\n', begin), text.size());
    const std::string line = Trimmed(std::string_view(text).substr(begin, end - begin));
    begin = end + 1;
    ++number;
    if (line.empty() || line.front() == '#') continue;
    const auto colon = line.find(':');
    const std::string key = Trimmed(line.substr(0, colon));
    const auto addresses =
        colon == std::string::npos ? std::vector<std::string>() : Addresses(line.substr(colon + 1));
    if (key.empty() || addresses.empty()) {
      Fail(kBadFormat, "Line " + std::to_string(number) + " of " + system::PathText(file) +
                           " is not \"address: address, …\".");
    }
    if (key != wanted && key != DomainOf(wanted)) continue;
    for (const auto& address : addresses) {
      if (!std::ranges::count(found, address)) found.push_back(address);
    }
  }
  return found;
}

}  // namespace corvessa::engine
