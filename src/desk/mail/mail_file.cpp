#include "desk/mail/mail_file.h"

#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <utility>

#include "base/error.h"
#include "desk/mail/attachment_source.h"
#include "desk/mail/io_error.h"

namespace corvessa::desk::mail {

namespace {

struct stat Status(GMimeStream* stream) {
  struct stat status {};
  fstat(GMIME_STREAM_FS(stream)->fd, &status);
  return status;
}

}  // namespace

std::shared_ptr<const MailFile> MailFile::Open(const std::filesystem::path& path) {
  ParserOptions();
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) RaiseIoError(path, "cannot be read", errno);
  return std::shared_ptr<const MailFile>(new MailFile(path, descriptor));
}

MailFile::MailFile(std::filesystem::path path, int descriptor)
    : path_(std::move(path)), stream_(g_mime_stream_fs_new(descriptor)) {
  const auto mode = Status(stream_.get()).st_mode;
  if (S_ISFIFO(mode)) {
    auto copy = ScratchStream(std::numeric_limits<std::uintmax_t>::max());
    if (g_mime_stream_write_to_stream(stream_.get(), copy.get()) < 0)
      RaiseIoError(path_, "cannot be read", errno);
    g_mime_stream_reset(copy.get());
    stream_ = std::move(copy);
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
      status.st_mtim.tv_nsec != changed_.tv_nsec)
    Raise(kPathFileAccess, path_.string() + " was changed while it was open. Open it again.");
}

}  // namespace corvessa::desk::mail
