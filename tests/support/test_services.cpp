#include "support/test_services.h"

namespace corvessa::testing {

double TestClock::Random() {
  if (!randoms.empty()) {
    const double next = randoms.front();
    randoms.pop_front();
    return next;
  }
  state_ = state_ * 1664525 + 1013904223;
  return static_cast<double>(state_) / 4294967296.0;
}

void TestShell::OpenPage(std::string_view url) {
  if (refusal) throw *refusal;
  pages.emplace_back(url);
}

std::string ScriptedInet::OpenURL(std::string_view url) {
  fetched.emplace_back(url);
  if (const auto page = pages.find(url); page != pages.end()) return page->second;
  if (real) return real->OpenURL(url);
  Raise(kPathFileAccess, "no page at " + std::string(url));
}

}  // namespace corvessa::testing
