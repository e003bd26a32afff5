#include "desk/terminal/answers.h"

#include <algorithm>
#include <system_error>

#include "base/error.h"
#include "base/text.h"
#include "desk/terminal/secret_line.h"
#include "system/errors.h"
#include "system/files.h"

namespace corvessa::desk {
namespace {

std::string Key(std::string_view address) {
  return LCase(Trim(address));
}

/// The error does not show the argument: it may be a passphrase in the wrong place.
std::pair<std::string_view, std::string_view> SplitArgument(std::string_view argument,
                                                            std::string_view usage) {
  const auto equals = argument.find('=');
  if (equals == 0 || equals == std::string_view::npos || equals + 1 == argument.size()) {
    Raise(kInvalidArgument, std::string(usage));
  }
  return {argument.substr(0, equals), argument.substr(equals + 1)};
}

/// Reads byte by byte, so that the rest of a pipe is left for the next reader.
void ReadFirstLine(const std::string& path, SecretLine& line) {
  const std::string file_name = "the passphrase file " + ForDisplay(path);
  try {
    auto file = system::File::OpenStream(path);
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

void Answers::AddPassphrase(std::string_view argument) {
  const auto [address, path] = SplitArgument(argument, "--passphrase takes ADDRESS=FILE");
  SecretLine line;
  ReadFirstLine(std::string(path), line);
  SetPassphrase(address, line.View());
}

void Answers::SetPassphrase(std::string_view address, std::string_view passphrase) {
  passphrases_[Key(address)].Assign(passphrase);
}

void Answers::AddAnswer(std::string_view argument) {
  const auto [form, control] = SplitArgument(argument, "--answer takes FORM=CONTROL");
  controls_[std::string(form)].push_back({std::string(control), true});
}

void Answers::PutFirst(std::string_view form, const std::vector<std::string>& controls) {
  auto& all = controls_[std::string(form)];
  std::vector<Given> own;
  own.reserve(controls.size());
  for (const std::string& control : controls) own.push_back({control, false});
  all.insert(all.begin(), own.begin(), own.end());
}

bool Answers::HasAnswers(std::string_view form) const {
  const auto found = controls_.find(form);
  return found != controls_.end() && !found->second.empty();
}

std::string Answers::NextAnswer(std::string_view form) {
  if (!HasAnswers(form)) return {};
  auto& controls = controls_.find(form)->second;
  std::string next = std::move(controls.front().control);
  controls.pop_front();
  return next;
}

std::vector<std::string> Answers::Unused() const {
  std::vector<std::string> unused;
  for (const auto& [form, controls] : controls_) {
    for (const Given& given : controls) {
      if (!given.by_user) continue;
      unused.push_back(ForDisplay(form) + "=" + ForDisplay(ControlIn(given.control)));
    }
  }
  return unused;
}

std::string_view ControlIn(std::string_view answer) {
  return answer.substr(0, answer.find(':'));
}

void Answers::BeginRound() {
  tried_.clear();
}

std::optional<std::string> Answers::ChooseAddress(const std::vector<std::string>& offered,
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

const SecretString& Answers::UsePassphrase(std::string_view address, std::string_view prompt) {
  tried_.emplace(Key(address), prompt);
  return passphrases_[Key(address)];
}

}  // namespace corvessa::desk
