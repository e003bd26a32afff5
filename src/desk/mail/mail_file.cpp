#include "desk/mail/mail_file.h"

#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "base/error.h"
#include "desk/mail/attachment_source.h"
#include "posix/file_descriptor.h"
#include "system/errors.h"

namespace corvessa::desk::mail {

namespace {

struct stat Status(GMimeStream* stream) {
  struct stat status {};
  fstat(GMIME_STREAM_FS(stream)->fd, &status);
  return status;
}

/// GMime's own copying wants to go back to the start of what it copies, which no pipe can.
Handle<GMimeStream> CopyOfPipe(const std::filesystem::path& path, int pipe) {
  auto copy = ScratchStream(std::numeric_limits<std::uintmax_t>::max());
  try {
    posix::CopyAll(pipe, GMIME_STREAM_FS(copy.get())->fd);
  } catch (const std::system_error& error) {
    system::RaiseIoError(path, "cannot be read", error.code());
  }
  g_mime_stream_reset(copy.get());
  return copy;
}

}  // namespace

std::shared_ptr<const MailFile> MailFile::Open(const std::filesystem::path& path) {
  ParserOptions();
  const int descriptor = path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                     : open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) system::RaiseIoError(path, "cannot be read", posix::LastError());
  return std::shared_ptr<const MailFile>(new MailFile(path, descriptor));
}

MailFile::MailFile(std::filesystem::path path, int descriptor)
    : path_(std::move(path)), stream_(g_mime_stream_fs_new(descriptor)) {
  const auto mode = Status(stream_.get()).st_mode;
  if (S_ISFIFO(mode) || S_ISSOCK(mode)) {
    stream_ = CopyOfPipe(path_, descriptor);
  } else if (!S_ISREG(mode)) {
    Raise(kPathFileAccess, path_.string() + " is not a file.");
  }
  const auto status = Status(stream_.get());
  size_ = status.st_size;
  changed_ = status.st_mtim;
}

void MailFile::CheckUnchanged() const {
  const auto status = Status(stream_.get());
  if (status.st_size != size_ || status.st_mtim.tv_sec != changed_.tv_sec ||
      status.st_mtim.tv_nsec != changed_.tv_nsec) {
    Raise(kPathFileAccess, path_.string() + " was changed while it was open. Open it again.");
  }
}

}  // namespace corvessa::desk::mail
