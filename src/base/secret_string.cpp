#include "base/secret_string.h"

namespace corvessa {

void WipeText(std::string& text) noexcept {
  // The string grows to its capacity first: an earlier, longer content may still be left after the
  // end. Growing within the capacity allocates nothing.
  text.resize(text.capacity());
  volatile char* bytes = text.data();
  for (std::size_t i = 0; i < text.size(); ++i) bytes[i] = 0;
  text.clear();
}

SecretString& SecretString::operator=(const SecretString& other) {
  if (this != &other) Assign(other.View());
  return *this;
}

void SecretString::Assign(std::string_view text) {
  std::string fresh(text);
  text_.swap(fresh);
  WipeText(fresh);
}

void SecretString::Append(std::string_view text) {
  const std::size_t size = text_.size() + text.size();
  if (size > text_.capacity()) {
    std::string fresh;
    fresh.reserve(2 * size);
    fresh.append(text_);
    text_.swap(fresh);
    WipeText(fresh);
  }
  text_.append(text);
}

void SecretString::Clear() noexcept {
  WipeText(text_);
}

}  // namespace corvessa
