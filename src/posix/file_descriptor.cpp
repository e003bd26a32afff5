#include "posix/file_descriptor.h"

#include <array>
#include <cerrno>
#include <system_error>
#include <unistd.h>

namespace corvessa::posix {
namespace {

/// What a read or write moved; again when a signal came between.
template <typename Call>
std::size_t Moved(Call call) {
  for (;;) {
    const ssize_t count = call();
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) Throw(errno);
  }
}

int disk_failure = 0;

}  // namespace

int DiskFailure() {
  return disk_failure;
}

void Throw(int error_code) {
  const bool is_of_disk = error_code == ENOSPC || error_code == EDQUOT || error_code == EIO;
  if (is_of_disk && disk_failure == 0) disk_failure = error_code;
  throw std::system_error(error_code, std::generic_category());
}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
  std::swap(number_, other.number_);
  return *this;
}

FileDescriptor::~FileDescriptor() {
  if (number_ >= 0) close(number_);
}

void FileDescriptor::Close() {
  if (close(Release()) != 0) Throw(errno);
}

std::size_t ReadSome(int file, char* buffer, std::size_t size) {
  return Moved([&] { return read(file, buffer, size); });
}

std::string ReadAll(int file) {
  std::string content;
  std::array<char, 1 << 16> piece;
  while (const std::size_t got = ReadSome(file, piece.data(), piece.size())) {
    content.append(piece.data(), got);
  }
  return content;
}

void WriteAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    bytes.remove_prefix(Moved([&] { return write(file, bytes.data(), bytes.size()); }));
  }
}

void CopyAll(int from, int to) {
  std::array<char, 1 << 16> piece;
  while (const std::size_t got = ReadSome(from, piece.data(), piece.size())) {
    WriteAll(to, {piece.data(), got});
  }
}

std::size_t ReadAt(int file, std::uint64_t offset, char* buffer, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    const std::size_t got = Moved(
        [&] { return pread(file, buffer + done, size - done, static_cast<off_t>(offset + done)); });
    if (got == 0) break;
    done += got;
  }
  return done;
}

}  // namespace corvessa::posix
