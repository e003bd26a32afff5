#include "engine/local_files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "engine/status.h"

namespace corvessa::engine {
namespace {

[[noreturn]] void FailOn(const std::filesystem::path& path, const char* what) {
  Fail(kIoTrouble, std::string("Cannot ") + what + " " + path.string() + ": " +
                       std::generic_category().message(errno) + ".");
}

void SyncFolder(const std::filesystem::path& folder) {
  const LocalFile opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened.IsOpen()) fsync(opened.descriptor());
}

}  // namespace

LocalFile::LocalFile(LocalFile&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)) {}

LocalFile& LocalFile::operator=(LocalFile&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  return *this;
}

LocalFile::~LocalFile() {
  if (IsOpen()) close(descriptor_);
}

LocalFile LocalFile::OpenForReading(const std::filesystem::path& path) {
  LocalFile file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.IsOpen()) FailOn(path, "open");
  return file;
}

LocalFile LocalFile::OpenIfThere(const std::filesystem::path& path) {
  LocalFile file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.IsOpen() && errno != ENOENT) FailOn(path, "open");
  return file;
}

std::uint64_t LocalFile::Size() const {
  struct stat status = {};
  return fstat(descriptor_, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

std::string LocalFile::ReadAt(std::uint64_t offset, std::size_t size) const {
  const std::uint64_t whole = Size();
  std::string bytes(
      static_cast<std::size_t>(std::min<std::uint64_t>(size, whole - std::min(offset, whole))),
      '\0');
  bytes.resize(ReadAt(offset, bytes.data(), bytes.size()));
  return bytes;
}

std::size_t LocalFile::ReadAt(std::uint64_t offset, char* buffer, std::size_t size) const {
  std::size_t done = 0;
  while (done < size) {
    const auto count =
        pread(descriptor_, buffer + done, size - done, static_cast<off_t>(offset + done));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) FailOn("the file", "read");
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  return done;
}

AtomicFile::AtomicFile(std::filesystem::path path) : path_(std::move(path)) {
  std::string name = path_.string() + ".XXXXXX";
  file_ = LocalFile(mkostemp(name.data(), O_CLOEXEC));
  if (!file_.IsOpen()) FailOn(path_, "write");
  temporary_ = name;
}

AtomicFile::~AtomicFile() {
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

void AtomicFile::Write(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = write(file_.descriptor(), bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) FailOn(path_, "write");
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

void AtomicFile::WriteAt(std::uint64_t offset, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count =
        pwrite(file_.descriptor(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) FailOn(path_, "write");
    bytes.remove_prefix(static_cast<std::size_t>(count));
    offset += static_cast<std::uint64_t>(count);
  }
}

void AtomicFile::Clear() {
  if (ftruncate(file_.descriptor(), 0) != 0 || lseek(file_.descriptor(), 0, SEEK_SET) != 0) {
    FailOn(path_, "write");
  }
}

void AtomicFile::CommitDurably() {
  if (fsync(file_.descriptor()) != 0) FailOn(path_, "write");
  Commit();
  SyncFolder(path_.parent_path());
}

void AtomicFile::Commit() {
  if (rename(temporary_.c_str(), path_.c_str()) != 0) FailOn(path_, "write");
  temporary_.clear();
}

std::string ReadWholeFile(const std::filesystem::path& path, std::size_t limit) {
  const auto file = LocalFile::OpenForReading(path);
  if (file.Size() > limit) {
    Fail(kIoTrouble,
         path.string() + " is too large: more than " + std::to_string(limit) + " bytes.");
  }
  return file.ReadAt(0, static_cast<std::size_t>(file.Size()));
}

}  // namespace corvessa::engine
