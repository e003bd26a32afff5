#include "commands/passphrases.h"

#include <algorithm>
#include <system_error>

#include "base/error.h"
#include "base/text.h"
#include "system/errors.h"
#include "system/files.h"

namespace corvessa {
namespace {

std::string Key(std::string_view address) {
  return LCase(Trim(address));
}

/// Reads byte by byte, so that the rest of a pipe is left for the next reader.
void ReadFirstLine(const std::string& path, SecretLine& line) {
  const std::string file_name = "the passphrase file " + ForDisplay(path);
  try {
    auto file = system::File::OpenStream(system::PathOf(path));
    char byte = 0;
    while (file.Read(&byte, 1) == 1 && byte != '\n' && !line.IsTooLong()) {
      line.Add(byte);
    }
  } catch (const std::system_error& error) {
    Raise(system::ErrorNumberOf(error.code()),
          "cannot read " + file_name + ": " + error.code().message());
  }
  if (line.View().empty() || line.IsTooLong()) {
    Raise(kInvalidArgument,
          "the first line of " + file_name + " is " + (line.IsTooLong() ? "too long" : "empty"));
  }
}

}  // namespace

std::pair<std::string_view, std::string_view> SplitArgument(std::string_view argument,
                                                            std::string_view usage) {
  const auto equals = argument.find('=');
  if (equals == 0 || equals == std::string_view::npos || equals + 1 == argument.size()) {
    Raise(kInvalidArgument, std::string(usage));
  }
  return {argument.substr(0, equals), argument.substr(equals + 1)};
}

void Passphrases::AddPassphrase(std::string_view argument) {
  const auto [address, path] = SplitArgument(argument, "--passphrase takes ADDRESS=FILE");
  SecretLine line;
  ReadFirstLine(std::string(path), line);
  SetPassphrase(address, line.View());
}

void Passphrases::SetPassphrase(std::string_view address, std::string_view passphrase) {
  passphrases_[Key(address)].Assign(passphrase);
}

void Passphrases::BeginRound() {
  tried_.clear();
}

std::optional<std::string> Passphrases::ChooseAddress(const std::vector<std::string>& offered,
                                                      std::string_view prompt) const {
  const auto tried_before = [&](const std::string& address) {
    const auto first = tried_.lower_bound({Key(address), ""});
    return first != tried_.end() && first->first == Key(address);
  };
  const auto tried_here = [&](const std::string& address) {
    return tried_.contains({Key(address), std::string(prompt)});
  };
  const auto first_that = [&](const auto& was_tried) {
    return std::ranges::find_if(offered, [&](const std::string& address) {
      return passphrases_.contains(Key(address)) && !was_tried(address);
    });
  };
  auto found = first_that(tried_before);
  if (found == offered.end()) found = first_that(tried_here);
  if (found == offered.end()) return std::nullopt;
  return *found;
}

const SecretString& Passphrases::UsePassphrase(std::string_view address, std::string_view prompt) {
  tried_.emplace(Key(address), prompt);
  return passphrases_[Key(address)];
}

}  // namespace corvessa
