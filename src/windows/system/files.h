#pragma once

#include "platform/files.h"

namespace corvessa::windows {

/// The files of this machine. What is made is private to the user.
class WindowsFiles final : public platform::Files {
 public:
  /// In the system's ANSI code page, as programs of the time write text files; other characters
  /// become "?".
  void AppendText(std::string_view path, std::string_view text) override;
  std::string Read(std::string_view path) override;
  void Write(std::string_view path, std::string_view content) override;
  void Copy(std::string_view from, std::string_view to) override;
  void Delete(std::string_view path) override;
  bool FileExists(std::string_view path) override;
  bool FolderExists(std::string_view path) override;
  void CreateFolder(std::string_view path) override;
  void RemoveEmptyFolder(std::string_view path) override;
  std::vector<std::string> List(std::string_view folder) override;
  std::uint32_t Attributes(std::string_view path) override;
  std::int64_t Length(std::string_view path) override;
  std::string TemporaryFolder() override;
};

}  // namespace corvessa::windows
