#include "engine/local_files.h"

#include <algorithm>
#include <cstring>
#include <system_error>
#include <utility>

#include "engine/status.h"
#include "system/errors.h"

namespace corvessa::engine {
namespace {

/// Runs work that reports by std::system_error.
template <typename Work>
auto Try(const char* what, const std::filesystem::path& path, Work work) {
  try {
    return work();
  } catch (const std::system_error& error) {
    Fail(kIoTrouble, std::string("Cannot ") + what + " " + system::PathText(path) + ": " +
                         system::ReasonText(error.code()) + ".");
  }
}

/// In place of a name that an open file no longer has.
const std::filesystem::path kOpenFile = "the file";

}  // namespace

LocalFile LocalFile::OpenForReading(const std::filesystem::path& path) {
  return Try("open", path, [&] { return LocalFile(system::File::OpenForReading(path)); });
}

LocalFile LocalFile::OpenIfThere(const std::filesystem::path& path) {
  return Try("open", path, [&] { return LocalFile(system::File::OpenIfThere(path)); });
}

system::FileStamp LocalFile::Stamp() const {
  return Try("read", kOpenFile, [&] { return file_.Stamp(); });
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
  return Try("read", kOpenFile, [&] { return file_.ReadAt(offset, buffer, size); });
}

FileSource::FileSource(const LocalFile& file, std::string_view replacement, std::size_t replaced)
    : file_(file), replacement_(replacement), position_(replaced) {
  file_.Handle().ExpectSequentialReading();
}

std::size_t FileSource::Read(char* buffer, std::size_t size) {
  if (given_ < replacement_.size()) {
    const auto count = replacement_.copy(buffer, size, given_);
    given_ += count;
    return count;
  }
  const auto count = file_.ReadAt(position_, buffer, size);
  position_ += count;
  return count;
}

FileSink::FileSink(std::filesystem::path path)
    : path_(std::move(path)),
      file_(Try("write", path_, [&] { return system::AtomicFile(path_); })) {}

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

void FileSink::CopyPermissions(const LocalFile& other) {
  Try("write", path_, [&] { file_.CopyPermissions(other.Handle()); });
}

LocalFile FileSink::OpenWritten() const {
  return Try("read", path_, [&] { return LocalFile(file_.OpenWritten()); });
}

void FileSink::CommitDurably() {
  Try("write", path_, [&] { file_.CommitDurably(); });
}

void FileSink::Commit() {
  Try("write", path_, [&] { file_.Commit(); });
}

std::string ReadWholeFile(const std::filesystem::path& path, std::size_t limit) {
  const auto file = LocalFile::OpenForReading(path);
  const std::uint64_t size = file.Size();
  if (size > limit) {
    Fail(kIoTrouble,
         system::PathText(path) + " is too large: more than " + std::to_string(limit) + " bytes.");
  }
  std::string bytes(static_cast<std::size_t>(size), '\0');
  bytes.resize(file.ReadAt(0, bytes.data(), bytes.size()));
  return bytes;
}

}  // namespace corvessa::engine
