#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "base/error.h"
#include "base/text.h"
#include "desk/profile/system_services.h"
#include "posix/file_descriptor.h"

namespace corvessa::desk {
namespace {

/// Runs in the new process, so makes system calls only. Writes errno into the pipe if the program
/// does not start; a started program closes the pipe.
[[noreturn]] void Execute(char* const* arguments, int report) {
  const int nowhere = open("/dev/null", O_RDWR);
  for (int stream = 0; stream <= 2; ++stream) dup2(nowhere, stream);
  execvp(arguments[0], arguments);
  const int failure = errno;
  const ssize_t ignored = write(report, &failure, sizeof failure);
  static_cast<void>(ignored);
  _exit(127);
}

/// Starts a program that outlives this one. It is a grandchild, whose parent ends at once, so that
/// no zombie remains. Returns 0 or an errno.
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
    if (detached == 0) Execute(arguments, child_report.Get());
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
    Raise(kInvalidArgument, "Only http and https pages can be opened");
  }
  std::string page(url);
  std::array<char*, 3> arguments{opener_.data(), page.data(), nullptr};
  if (const int failure = StartDetached(arguments.data()); failure != 0) {
    Raise(kFileNotFound, "Cannot start " + opener_ + " to open " + page + ": " +
                             std::generic_category().message(failure));
  }
}

}  // namespace corvessa::desk
