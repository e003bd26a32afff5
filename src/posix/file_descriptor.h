#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace corvessa::posix {

// What fails here throws std::system_error with the errno of the call: only the callers
// know what it means for them.

/// Throws std::system_error for an errno.
[[noreturn]] void Throw(int error_code);

/// The first errno of this process that only who looks after the disk can mend: it is full, over
/// quota or broken; 0 for none. For a host whose inner parts may not say why they failed.
int DiskFailure();

/// Owns an open file descriptor; -1 is none.
class FileDescriptor {
 public:
  explicit FileDescriptor(int number = -1) : number_(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number_(other.Release()) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;
  ~FileDescriptor();

  explicit operator bool() const { return number_ >= 0; }
  int Get() const { return number_; }
  /// Gives the descriptor away.
  int Release() { return std::exchange(number_, -1); }
  /// The last chance to learn that what was written did not arrive.
  void Close();

 private:
  int number_;
};

/// Up to `size` bytes; 0 at the end of the file.
std::size_t ReadSome(int file, char* buffer, std::size_t size);

/// Everything up to the end of the file.
std::string ReadAll(int file);

void WriteAll(int file, std::string_view bytes);

/// From where both stand, up to the end of the first.
void CopyAll(int from, int to);

/// Up to `size` bytes from `offset` on; fewer at the end of the file.
std::size_t ReadAt(int file, std::uint64_t offset, char* buffer, std::size_t size);

}  // namespace corvessa::posix
