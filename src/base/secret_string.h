#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace corvessa {

/// Where secrets are kept as long as there is room: memory of the program itself, for a host to
/// keep out of the swap file (system::LockSecrets). It begins and ends with a page.
std::span<std::byte> SecretArena();

/// In the arena, or on the heap when that is full.
void* AllocateSecret(std::size_t size);
/// Overwrites it first.
void FreeSecret(void* memory, std::size_t size) noexcept;

template <typename T>
struct SecretAllocator {
  using value_type = T;

  SecretAllocator() = default;
  template <typename Other>
  SecretAllocator(const SecretAllocator<Other>& /*other*/) {}

  T* allocate(std::size_t count) { return static_cast<T*>(AllocateSecret(count * sizeof(T))); }
  void deallocate(T* memory, std::size_t count) noexcept { FreeSecret(memory, count * sizeof(T)); }
  bool operator==(const SecretAllocator& /*other*/) const { return true; }
};
using SecretBytes = std::vector<char, SecretAllocator<char>>;

/// A passphrase. What it held is overwritten before the memory is let go: on assignment, Clear and
/// destruction. There is no conversion to std::string, so that no copy escapes by accident.
class SecretString {
 public:
  SecretString() = default;
  explicit SecretString(std::string_view text) { Assign(text); }

  void Assign(std::string_view text);
  /// Takes time in proportion to `text`, on average.
  void Append(std::string_view text);
  void Clear() noexcept;
  bool IsEmpty() const { return View().empty(); }
  /// Lives until the next change of this object. A NUL follows it.
  std::string_view View() const;

 private:
  SecretBytes text_;  ///< with a NUL at its end, or empty
};

/// Overwrites a text that held a secret, then empties it.
void WipeText(std::string& text) noexcept;

}  // namespace corvessa
