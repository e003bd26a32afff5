#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/inet.h"

namespace corvessa::desk {

/// Fetches pages with libcurl. Redirections are followed to http and https only; an answer with an
/// error status counts as a failed fetch.
class CurlInet final : public platform::Inet {
 public:
  std::string OpenURL(std::string_view url) override;

  static constexpr std::size_t kMaximumBytes = std::size_t{1} << 20;
};

}  // namespace corvessa::desk
