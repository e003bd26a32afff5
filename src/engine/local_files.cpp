#include "engine/local_files.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <utility>

#include "engine/status.h"

namespace corvessa::engine {
namespace {

[[noreturn]] void FailOn(const char* what, const std::filesystem::path& path, int error_code) {
  Fail(kIoTrouble, std::string("Cannot ") + what + " " + path.string() + ": " +
                       std::generic_category().message(error_code) + ".");
}

/// Runs work that reports by std::system_error.
template <typename Work>
auto Try(const char* what, const std::filesystem::path& path, Work work) {
  try {
    return work();
  } catch (const std::system_error& error) {
    FailOn(what, path, error.code().value());
  }
}

}  // namespace

LocalFile::LocalFile(const std::filesystem::path& path)
    : file_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}

LocalFile LocalFile::OpenForReading(const std::filesystem::path& path) {
  LocalFile file(path);
  if (!file.IsOpen()) FailOn("open", path, errno);
  return file;
}

LocalFile LocalFile::OpenIfThere(const std::filesystem::path& path) {
  LocalFile file(path);
  const int error_code = errno;
  if (!file.IsOpen() && (error_code != ENOENT || std::filesystem::is_symlink(path))) {
    FailOn("open", path, error_code);
  }
  return file;
}

std::uint64_t LocalFile::Size() const {
  struct stat status = {};
  return fstat(descriptor(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
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
  return Try("read", "the file", [&] { return posix::ReadAt(descriptor(), offset, buffer, size); });
}

FileSink::FileSink(std::filesystem::path path)
    : path_(std::move(path)),
      file_(Try("write", path_, [&] { return posix::AtomicFile(path_); })) {}

void FileSink::Write(std::string_view bytes) {
  Try("write", path_, [&] { file_.Write(bytes); });
}

void FileSink::Overwrite(std::string_view start) {
  Try("write", path_, [&] {
    file_.Rewind();
    file_.Write(start);
  });
}

void FileSink::Clear() {
  Try("write", path_, [&] { file_.Clear(); });
}

void FileSink::CommitDurably() {
  Try("write", path_, [&] { file_.CommitDurably(); });
}

void FileSink::Commit() {
  Try("write", path_, [&] { file_.Commit(); });
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
