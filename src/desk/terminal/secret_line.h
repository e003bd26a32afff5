#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/secret_string.h"

namespace corvessa::desk {

/// A passphrase that comes in byte by byte, in one buffer that is wiped at the end. A growing
/// string would leave copies behind.
class SecretLine {
 public:
  SecretLine() { bytes_.reserve(kMostBytes + 1); }
  ~SecretLine() { WipeText(bytes_); }
  SecretLine(const SecretLine&) = delete;
  SecretLine& operator=(const SecretLine&) = delete;

  /// Ignores bytes beyond the limit.
  void Add(char byte) {
    if (bytes_.size() <= kMostBytes) bytes_ += byte;
  }
  bool IsTooLong() const { return View().size() > kMostBytes; }
  /// Without the CR of a CR LF.
  std::string_view View() const {
    const std::string_view all = bytes_;
    return all.ends_with('\r') ? all.substr(0, all.size() - 1) : all;
  }

 private:
  /// As much as a terminal takes in one line.
  static constexpr std::size_t kMostBytes = 4000;

  std::string bytes_;
};

}  // namespace corvessa::desk
