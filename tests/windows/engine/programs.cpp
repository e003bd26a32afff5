#include "windows/engine/programs.h"

#include <stdexcept>
#include <windows.h>

#include "windows/engine/registered_engine.h"

namespace corvessa::windows {

Program::Program(std::wstring command_line) {
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION started = {};
  if (!CreateProcessW(nullptr, command_line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                      &startup, &started)) {
    throw std::runtime_error("a program cannot be started");
  }
  CloseHandle(started.hThread);
  process_ = started.hProcess;
}

Program::~Program() {
  Kill();
  CloseHandle(process_);
}

unsigned Program::Wait() {
  DWORD code = 0;
  WaitForSingleObject(process_, INFINITE);
  GetExitCodeProcess(process_, &code);
  return code;
}

bool Program::IsRunning() const {
  return WaitForSingleObject(process_, 0) == WAIT_TIMEOUT;
}

void Program::Kill() {
  TerminateProcess(process_, 99);
  WaitForSingleObject(process_, INFINITE);
}

std::wstring KeyTool(const std::wstring& arguments) {
  return L"\"" + WindowsPath(CORVESSA_KEY_TOOL) + L"\" " + arguments;
}

}  // namespace corvessa::windows
