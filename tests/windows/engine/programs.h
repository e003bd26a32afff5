#pragma once

#include <string>

/// Programs that a test runs beside itself, with its environment.
namespace corvessa::windows {

/// A running program; ended with its object.
class Program {
 public:
  explicit Program(std::wstring command_line);
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  /// Waits for its end; its exit code.
  unsigned Wait();
  bool IsRunning() const;
  /// Ends it at once, wherever it is.
  void Kill();

 private:
  void* process_;
};

/// corvessa-key.exe on the arguments.
std::wstring KeyTool(const std::wstring& arguments);

}  // namespace corvessa::windows
