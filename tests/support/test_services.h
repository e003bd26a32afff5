#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "platform/system.h"

namespace corvessa::testing {

/// A clock that stands still, and chance that repeats itself.
class TestClock final : public platform::Clock {
 public:
  std::string DateTimeText() override { return text; }
  void Randomize() override {}
  /// A fixed sequence in which none comes twice in a row.
  double Random() override {
    state_ = state_ * 1664525 + 1013904223;
    return static_cast<double>(state_) / 4294967296.0;
  }

  std::string text = "2/29/2004 11:58:07 PM";

 private:
  std::uint32_t state_ = 1;
};

/// Records the pages that were to be opened.
class TestShell final : public platform::Shell {
 public:
  void OpenPage(std::string_view url) override { pages.emplace_back(url); }

  std::vector<std::string> pages;
};

/// Answers the scripted pages and fails for the rest.
class ScriptedInet final : public platform::Inet {
 public:
  std::string OpenURL(std::string_view url) override {
    if (const auto page = pages.find(url); page != pages.end()) return page->second;
    Raise(kPathFileAccess, "no page at " + std::string(url));
  }

  std::map<std::string, std::string, std::less<>> pages;
};

}  // namespace corvessa::testing
