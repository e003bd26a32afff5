#include "posix/atomic_file.h"

#include <cerrno>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>
#include <utility>

namespace corvessa::posix {
namespace {

constexpr std::string_view kPrefix = ".corvessa-";
constexpr std::string_view kReplaced = "XXXXXX";

void Check(bool succeeded) {
  if (!succeeded) Throw(errno);
}

std::error_code Sync(const std::filesystem::path& folder) {
  const FileDescriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened && fsync(opened.Get()) == 0) return {};
  return {errno, std::generic_category()};
}

}  // namespace

std::string TemporaryPattern(const std::filesystem::path& folder) {
  return (folder / kPrefix).string().append(kReplaced);
}

bool IsTemporaryName(std::string_view name) {
  return name.starts_with(kPrefix) && name.size() == kPrefix.size() + kReplaced.size();
}

// Not the file's own name with an addition, which could be too long for the file system.
AtomicFile::AtomicFile(std::filesystem::path path)
    : path_(std::move(path)),
      temporary_(TemporaryPattern(path_.parent_path())),
      file_(mkostemp(temporary_.data(), O_CLOEXEC)) {
  Check(static_cast<bool>(file_));
}

AtomicFile::~AtomicFile() {
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

void AtomicFile::Rewind() {
  Check(lseek(file_.Get(), 0, SEEK_SET) == 0);
}

void AtomicFile::Clear() {
  Check(ftruncate(file_.Get(), 0) == 0);
  Rewind();
}

void AtomicFile::Commit() {
  file_.Close();
  Check(rename(temporary_.c_str(), path_.c_str()) == 0);
  temporary_.clear();
}

std::error_code AtomicFile::CommitDurably() {
  Check(fsync(file_.Get()) == 0);
  Commit();
  return Sync(path_.has_parent_path() ? path_.parent_path() : ".");
}

void AtomicFile::CommitNew() {
  file_.Close();
  Check(renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, path_.c_str(), RENAME_NOREPLACE) == 0);
  temporary_.clear();
}

}  // namespace corvessa::posix
