#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

/// File descriptors, for the implementation of system/files.h and for those parts of the desk that
/// a POSIX interface leaves no choice. What fails throws std::system_error.
namespace corvessa::posix {

/// The present errno. A used-up quota is a full disk.
std::error_code LastError();

/// Throws LastError() and keeps the first failure of the disk, see system::DiskFailure.
[[noreturn]] void ThrowLastError();

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
  /// Reports what a delayed write may still bring to light; the destructor cannot.
  void Close();

 private:
  int number_;
};

/// Up to `size` bytes; 0 only at the end of the file.
std::size_t ReadSome(int file, char* buffer, std::size_t size);

/// Everything up to the end of the file.
std::string ReadAll(int file);

void WriteAll(int file, std::string_view bytes);

/// From where both stand, up to the end of the first.
void CopyAll(int from, int to);

/// Up to `size` bytes from `offset` on; fewer only at the end of the file.
std::size_t ReadAt(int file, std::uint64_t offset, char* buffer, std::size_t size);

}  // namespace corvessa::posix
