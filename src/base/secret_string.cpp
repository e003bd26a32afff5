#include "base/secret_string.h"

#include <array>
#include <bitset>
#include <mutex>
#include <new>

namespace corvessa {
namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kBlock = 64;
// A few hundred passphrases, and a small part of what a process may lock (50 pages on Windows).
constexpr std::size_t kBlocks = 4 * kPage / kBlock;

alignas(kPage) std::array<std::byte, kBlocks * kBlock> arena;
std::bitset<kBlocks> taken;
std::mutex mutex;

std::size_t BlocksFor(std::size_t size) {
  return (size + kBlock - 1) / kBlock;
}

/// The first of so many free blocks in a row; kBlocks for none.
std::size_t FindFree(std::size_t count) {
  std::size_t free = 0;
  for (std::size_t i = 0; i < kBlocks; ++i) {
    free = taken[i] ? 0 : free + 1;
    if (free == count) return i + 1 - count;
  }
  return kBlocks;
}

void Mark(std::size_t first, std::size_t count, bool value) {
  for (std::size_t i = first; i < first + count; ++i) taken[i] = value;
}

/// The block that the memory begins with; kBlocks when it is on the heap.
std::size_t BlockOf(const void* memory) {
  const auto* const byte = static_cast<const std::byte*>(memory);
  const bool is_inside = byte >= arena.data() && byte < arena.data() + arena.size();
  return is_inside ? static_cast<std::size_t>(byte - arena.data()) / kBlock : kBlocks;
}

void Wipe(void* memory, std::size_t size) noexcept {
  volatile char* bytes = static_cast<char*>(memory);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = 0;
}

}  // namespace

std::span<std::byte> SecretArena() {
  return arena;
}

void* AllocateSecret(std::size_t size) {
  const std::size_t count = BlocksFor(size);
  const std::lock_guard lock(mutex);
  const std::size_t first = count > 0 ? FindFree(count) : kBlocks;
  if (first == kBlocks) return ::operator new(size);
  Mark(first, count, true);
  return arena.data() + first * kBlock;
}

void FreeSecret(void* memory, std::size_t size) noexcept {
  Wipe(memory, size);
  const std::size_t first = BlockOf(memory);
  if (first == kBlocks) return ::operator delete(memory);
  const std::lock_guard lock(mutex);
  Mark(first, BlocksFor(size), false);
}

void SecretString::Assign(std::string_view text) {
  SecretBytes fresh;
  fresh.reserve(text.size() + 1);
  fresh.assign(text.begin(), text.end());
  fresh.push_back('\0');
  text_.swap(fresh);
}

void SecretString::Append(std::string_view text) {
  if (!text_.empty()) text_.pop_back();
  text_.insert(text_.end(), text.begin(), text.end());
  text_.push_back('\0');
}

void SecretString::Clear() noexcept {
  SecretBytes().swap(text_);
}

std::string_view SecretString::View() const {
  return text_.empty() ? std::string_view("") : std::string_view(text_.data(), text_.size() - 1);
}

void WipeText(std::string& text) noexcept {
  // The string grows to its capacity first: an earlier, longer content may still be left after the
  // end. Growing within the capacity allocates nothing.
  text.resize(text.capacity());
  Wipe(text.data(), text.size());
  text.clear();
}

}  // namespace corvessa
