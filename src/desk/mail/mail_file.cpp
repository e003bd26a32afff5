#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "base/error.h"
#include "desk/mail/parts.h"
#include "system/errors.h"

namespace corvessa::desk::mail {

namespace {

int Descriptor(const system::File& file) {
  return static_cast<int>(file.Native());
}

/// A duplicate, so that closing it leaves the standard input open.
system::File StandardInput() {
  const int descriptor = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0);
  if (descriptor < 0) system::Throw({errno, std::generic_category()});
  return system::File(descriptor);
}

/// Copies a pipe, because GMime must be able to seek.
system::File Seekable(const std::filesystem::path& path, system::File file) {
  struct stat status {};
  fstat(Descriptor(file), &status);
  if (S_ISREG(status.st_mode)) return file;
  if (!S_ISFIFO(status.st_mode) && !S_ISSOCK(status.st_mode)) {
    Raise(kPathFileAccess, path.string() + " is not a file.");
  }
  auto copy = system::File::CreateNameless(std::filesystem::temp_directory_path());
  copy.WriteRestOf(file);
  lseek(Descriptor(copy), 0, SEEK_SET);
  return copy;
}

}  // namespace

std::shared_ptr<const MailFile> MailFile::Open(const std::filesystem::path& path) {
  ParserOptions();
  try {
    auto file = path == "-" ? StandardInput() : system::File::OpenStream(path);
    return std::shared_ptr<const MailFile>(new MailFile(path, Seekable(path, std::move(file))));
  } catch (const std::system_error& error) {
    system::RaiseIoError(path, "cannot be read", error.code());
  }
}

MailFile::MailFile(std::filesystem::path path, system::File file)
    : path_(std::move(path)),
      file_(std::move(file)),
      stream_(g_mime_stream_fs_new(Descriptor(file_))),
      stamp_(file_.Stamp()) {
  g_mime_stream_fs_set_owner(GMIME_STREAM_FS(stream_.get()), FALSE);
}

void MailFile::CheckUnchanged() const {
  if (file_.Stamp() == stamp_) return;
  Raise(kPathFileAccess, path_.string() + " was changed while it was open. Open it again.");
}

}  // namespace corvessa::desk::mail
