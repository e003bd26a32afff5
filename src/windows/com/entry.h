#pragma once

#include <functional>

namespace corvessa::com {

/// One call into this module from outside: an event, a message of a window, a method. They nest,
/// because dialogs and Outlook itself let further events in.
class Entry {
 public:
  Entry();
  ~Entry();
  Entry(const Entry&) = delete;
  Entry& operator=(const Entry&) = delete;
};

/// How many calls have come in so far. While it is the same, nothing else came in between: what was
/// asked of Outlook since then still holds.
unsigned long EntryCount();

/// Runs the action when the outermost call leaves, or now if there is none: for what must not go
/// while routines that use it are still on the stack. It must not throw.
void RunWhenLeft(std::function<void()> action);

}  // namespace corvessa::com
