#pragma once

#include <string>
#include <string_view>

namespace corvessa::platform {

/// The Internet transfer control.
class Inet {
 public:
  virtual ~Inet() = default;
  /// The body of a page fetched with GET over http or https, as text: at most the first MiB of it,
  /// within 60 seconds. Throws Error when nothing could be fetched.
  virtual std::string OpenURL(std::string_view url) = 0;
};

}  // namespace corvessa::platform
