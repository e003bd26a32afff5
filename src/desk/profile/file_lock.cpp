#include "desk/profile/file_lock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>

namespace corvessa::desk {

std::optional<FileLock> FileLock::Try(const std::filesystem::path& path) {
  posix::FileDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file) posix::Throw(errno);
  if (flock(file.Get(), LOCK_EX | LOCK_NB) == 0) return FileLock(std::move(file));
  if (errno == EWOULDBLOCK) return std::nullopt;
  posix::Throw(errno);
}

}  // namespace corvessa::desk
