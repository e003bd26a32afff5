#pragma once

#include <string>
#include <string_view>

namespace corvessa {

/// A passphrase. What it held is overwritten before the memory is let go: on assignment, Clear and
/// destruction. It copies and never moves, because moving a short string leaves its bytes behind.
/// There is no conversion to std::string, so that no copy escapes by accident.
class SecretString {
 public:
  SecretString() = default;
  explicit SecretString(std::string_view text) { Assign(text); }
  SecretString(const SecretString& other) { Assign(other.View()); }
  SecretString& operator=(const SecretString& other);
  ~SecretString() { Clear(); }

  void Assign(std::string_view text);
  /// Takes time in proportion to `text`, on average.
  void Append(std::string_view text);
  void Clear() noexcept;
  bool IsEmpty() const { return text_.empty(); }
  /// Lives until the next change of this object.
  std::string_view View() const { return text_; }

 private:
  std::string text_;
};

/// Overwrites a text that held a secret, then empties it.
void WipeText(std::string& text) noexcept;

}  // namespace corvessa
