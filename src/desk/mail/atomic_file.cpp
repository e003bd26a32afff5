#include "desk/mail/atomic_file.h"

#include <cerrno>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "base/error.h"
#include "desk/mail/io_error.h"

namespace corvessa::desk::mail {

AtomicFile::AtomicFile(std::filesystem::path path) : path_(std::move(path)) {
  // A device or a pipe would be replaced by a file, to the surprise of whoever named it.
  std::error_code ignored;
  const auto status = std::filesystem::status(path_, ignored);
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
    Raise(kPathFileAccess, path_.string() + " is there already and is no file.");
  // Not the file's own name: with an addition it could be too long for the file system.
  std::string name = (path_.parent_path() / ".corvessa-XXXXXX").string();
  descriptor_ = mkostemp(name.data(), O_CLOEXEC);
  if (descriptor_ < 0) RaiseWriteError(errno);
  temporary_ = name;
}

AtomicFile::~AtomicFile() {
  if (descriptor_ >= 0) close(descriptor_);
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

void AtomicFile::Commit(Safety safety) {
  const bool durable = safety == Safety::kSurvivesPowerLoss;
  if (durable && fsync(descriptor_) != 0) RaiseWriteError(errno);
  if (close(std::exchange(descriptor_, -1)) != 0) RaiseWriteError(errno);
  if (rename(temporary_.c_str(), path_.c_str()) != 0) RaiseWriteError(errno);
  temporary_.clear();
  if (durable) SyncFolder();
}

void AtomicFile::CommitNew() {
  if (close(std::exchange(descriptor_, -1)) != 0) RaiseWriteError(errno);
  if (renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, path_.c_str(), RENAME_NOREPLACE) != 0)
    RaiseWriteError(errno);
  temporary_.clear();
}

void AtomicFile::RaiseWriteError(int error_code) const {
  RaiseIoError(path_, "cannot be written", error_code);
}

// The file is in its place already; a folder that cannot be synced (some network file systems) is
// no reason to report a failure.
void AtomicFile::SyncFolder() const {
  const auto folder = path_.has_parent_path() ? path_.parent_path() : std::filesystem::path(".");
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  fsync(descriptor);
  close(descriptor);
}

}  // namespace corvessa::desk::mail
