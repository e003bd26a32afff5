#include "desk/profile/system_shell.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "base/error.h"
#include "base/text.h"
#include "posix/file_descriptor.h"

namespace corvessa::desk {
namespace {

/// In the new process, so system calls only. Reports into the pipe when the program does not start;
/// a started one closes it unwritten.
[[noreturn]] void Become(char* const* arguments, int report) {
  const int nowhere = open("/dev/null", O_RDWR);
  for (int stream = 0; stream <= 2; ++stream) dup2(nowhere, stream);
  execvp(arguments[0], arguments);
  const int failure = errno;
  const ssize_t ignored = write(report, &failure, sizeof failure);
  static_cast<void>(ignored);
  _exit(127);
}

/// Starts a program that outlives this one and leaves nothing to wait for: it is the child of a
/// child that ends at once. Gives the errno of a failure, or 0.
int StartDetached(char* const* arguments) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return errno;
  const posix::FileDescriptor report(ends[0]);
  posix::FileDescriptor child_report(ends[1]);
  const pid_t child = fork();
  if (child < 0) return errno;
  if (child == 0) {
    setsid();
    const pid_t detached = fork();
    if (detached == 0) Become(arguments, child_report.Get());
    _exit(detached < 0 ? 1 : 0);
  }
  child_report = posix::FileDescriptor();
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (status != 0) return EAGAIN;
  int failure = 0;
  posix::ReadSome(report.Get(), reinterpret_cast<char*>(&failure), sizeof failure);
  return failure;
}

}  // namespace

void SystemShell::OpenPage(std::string_view url) {
  if (!IsWebAddress(url) || HoldsControlCharacter(url)) {
    Raise(kInvalidArgument, "Only http and https pages are opened");
  }
  std::string page(url);
  std::array<char*, 3> arguments{opener_.data(), page.data(), nullptr};
  if (const int failure = StartDetached(arguments.data()); failure != 0) {
    Raise(kFileNotFound, opener_ + " cannot be started to open " + page + ": " +
                             std::generic_category().message(failure));
  }
}

}  // namespace corvessa::desk
