#include "desk/profile/posix_file.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <stdlib.h>
#include <system_error>
#include <unistd.h>

namespace corvessa::desk {
namespace {

[[noreturn]] void ThrowErrno(int number) {
  throw std::system_error(number, std::generic_category());
}

void Check(bool succeeded) {
  if (!succeeded) ThrowErrno(errno);
}

void SyncFolder(const std::filesystem::path& folder) {
  const FileDescriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  Check(static_cast<bool>(opened));
  Check(fsync(opened.Get()) == 0);
}

}  // namespace

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
  std::swap(number_, other.number_);
  return *this;
}

FileDescriptor::~FileDescriptor() {
  if (number_ >= 0) close(number_);
}

std::string ReadAll(int file) {
  std::string content;
  std::array<char, 1 << 16> block;
  for (;;) {
    const ssize_t got = read(file, block.data(), block.size());
    if (got < 0 && errno == EINTR) continue;
    Check(got >= 0);
    if (got == 0) return content;
    content.append(block.data(), static_cast<std::size_t>(got));
  }
}

void WriteAll(int file, std::string_view content) {
  while (!content.empty()) {
    const ssize_t put = write(file, content.data(), content.size());
    if (put < 0 && errno == EINTR) continue;
    Check(put >= 0);
    content.remove_prefix(static_cast<std::size_t>(put));
  }
}

void ReplaceFile(const std::filesystem::path& path, std::string_view content,
                 Durability durability) {
  // The target's own name could be at the length limit already, so the new file's is independent.
  std::string fresh = (path.parent_path() / ".new-XXXXXX").string();
  const FileDescriptor file(mkostemp(fresh.data(), O_CLOEXEC));
  Check(static_cast<bool>(file));
  try {
    WriteAll(file.Get(), content);
    if (durability == Durability::kPower) Check(fsync(file.Get()) == 0);
    Check(rename(fresh.c_str(), path.c_str()) == 0);
  } catch (...) {
    unlink(fresh.c_str());
    throw;
  }
  if (durability == Durability::kPower) SyncFolder(path.parent_path());
}

}  // namespace corvessa::desk
