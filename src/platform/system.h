#pragma once

#include <string>
#include <string_view>

namespace corvessa::platform {

/// Time and chance.
class Clock {
 public:
  virtual ~Clock() = default;
  /// The current local date and time as the system's default text: short date, blank, long time.
  virtual std::string DateTimeText() = 0;
  /// Seeds Random from the clock.
  virtual void Randomize() = 0;
  /// At least 0, less than 1. For names of folders and the like, never for a secret.
  virtual double Random() = 0;
};

/// Shell execution.
class Shell {
 public:
  virtual ~Shell() = default;
  /// Opens an http or https page, or a file of the product's help folder, in the user's browser. The
  /// address is handed over as one argument, never through a command line; the caller has checked
  /// it. Throws Error when that fails, and where no help is installed for a file.
  virtual void OpenPage(std::string_view url) = 0;
};

/// The Internet transfer control.
class Inet {
 public:
  virtual ~Inet() = default;
  /// The body of a page fetched with GET over http or https, as text: at most the first MiB of it,
  /// within 60 seconds. Throws Error when nothing could be fetched.
  virtual std::string OpenURL(std::string_view url) = 0;
};

}  // namespace corvessa::platform
