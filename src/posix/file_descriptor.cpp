#include "posix/file_descriptor.h"

#include <array>
#include <cerrno>
#include <unistd.h>

#include "system/errors.h"

namespace corvessa::posix {
namespace {

/// The bytes that a read or write moved; repeats it when a signal came between.
template <typename Call>
std::size_t Transfer(Call call) {
  for (;;) {
    const ssize_t count = call();
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) ThrowLastError();
  }
}

}  // namespace

std::error_code LastError() {
  return {errno == EDQUOT ? ENOSPC : errno, std::generic_category()};
}

void ThrowLastError() {
  system::Throw(LastError());
}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
  std::swap(number_, other.number_);
  return *this;
}

FileDescriptor::~FileDescriptor() {
  if (number_ >= 0) close(number_);
}

void FileDescriptor::Close() {
  if (close(Release()) != 0) ThrowLastError();
}

std::size_t ReadSome(int file, char* buffer, std::size_t size) {
  return Transfer([&] { return read(file, buffer, size); });
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
    bytes.remove_prefix(Transfer([&] { return write(file, bytes.data(), bytes.size()); }));
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
    const std::size_t got = Transfer(
        [&] { return pread(file, buffer + done, size - done, static_cast<off_t>(offset + done)); });
    if (got == 0) break;
    done += got;
  }
  return done;
}

}  // namespace corvessa::posix
