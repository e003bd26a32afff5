#include "desk/program.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "posix/file_descriptor.h"
#include "system/files.h"

namespace corvessa::desk {
namespace {

constexpr int kBySignal = 128;

std::vector<char*> Pointers(std::vector<std::string>& arguments) {
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// A file and not a pipe: a program that writes before it reads everything would wait for ever.
system::File InputFile(std::string_view input) {
  auto file = system::File::CreateNameless(std::filesystem::temp_directory_path());
  file.Write(input);
  if (lseek(static_cast<int>(file.Native()), 0, SEEK_SET) != 0) posix::ThrowLastError();
  return file;
}

int WaitFor(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) posix::ThrowLastError();
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : kBySignal + WTERMSIG(status);
}

}  // namespace

ProgramResult RunProgram(std::vector<std::string> arguments, const std::string_view* input) {
  system::File input_file;
  if (input) input_file = InputFile(*input);
  const std::vector<char*> pointers = Pointers(arguments);
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) posix::ThrowLastError();
  const posix::FileDescriptor reading(ends[0]);
  posix::FileDescriptor writing(ends[1]);
  const pid_t child = fork();
  if (child < 0) posix::ThrowLastError();
  if (child == 0) {
    if (input) dup2(static_cast<int>(input_file.Native()), STDIN_FILENO);
    dup2(writing.Get(), STDOUT_FILENO);
    execvp(pointers[0], pointers.data());
    _exit(kProgramNotFound);
  }
  writing = posix::FileDescriptor();
  ProgramResult result;
  result.output = posix::ReadAll(reading.Get());
  result.exit_code = WaitFor(child);
  return result;
}

}  // namespace corvessa::desk
