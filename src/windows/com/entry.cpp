#include "windows/com/entry.h"

#include <utility>
#include <vector>

namespace corvessa::com {
namespace {

int g_depth = 0;
unsigned long g_entries = 0;

std::vector<std::function<void()>>& Actions() {
  static std::vector<std::function<void()>> actions;
  return actions;
}

}  // namespace

Entry::Entry() {
  ++g_depth;
  ++g_entries;
}

Entry::~Entry() {
  if (--g_depth > 0) return;
  for (const auto& action : std::exchange(Actions(), {})) action();
}

unsigned long EntryCount() {
  return g_entries;
}

void RunWhenLeft(std::function<void()> action) {
  const Entry entry;
  Actions().push_back(std::move(action));
}

}  // namespace corvessa::com
