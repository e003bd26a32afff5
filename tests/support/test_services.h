#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "platform/clock.h"
#include "platform/inet.h"
#include "platform/shell.h"

namespace corvessa::testing {

/// A clock that stands still, and chance that repeats itself.
class TestClock final : public platform::Clock {
 public:
  std::string DateTimeText() override { return text; }
  void Randomize() override { ++randomized; }
  /// The queued numbers first, then a fixed sequence in which none comes twice in a row.
  double Random() override;

  std::string text = "2/29/2004 11:58:07 PM";
  std::deque<double> randoms;
  int randomized = 0;

 private:
  std::uint32_t state_ = 1;
};

/// Records the pages that were to be opened.
class TestShell final : public platform::Shell {
 public:
  void OpenPage(std::string_view url) override;

  std::vector<std::string> pages;
  std::optional<Error> refusal;
};

/// Answers the scripted pages; hands the rest on to `real` when that is set, else fails.
class ScriptedInet final : public platform::Inet {
 public:
  std::string OpenURL(std::string_view url) override;

  std::map<std::string, std::string, std::less<>> pages;
  std::vector<std::string> fetched;
  platform::Inet* real = nullptr;
};

}  // namespace corvessa::testing
