#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"

namespace corvessa::desk {

/// The files of a profile: drive C is a folder, every other drive is not there. Names keep their
/// case and are told apart by it, so that two attachments never fall on one file. A path stays
/// below the folder: ".." is refused (76), and so is whatever is no absolute path of drive C;
/// nothing exists there.
class ProfileFiles final : public platform::Files {
 public:
  /// Makes the folder, and that for temporary files in it, private to the owner, where missing.
  explicit ProfileFiles(std::filesystem::path drive_c);

  /// The local file that a Windows path means; "c:\" is the folder itself. Throws Error 76.
  std::filesystem::path LocalPath(std::string_view windows_path) const;
  /// A path in the folder for temporary files that nothing has yet. No file is made.
  std::string FreshTemporaryPath();

  void AppendText(std::string_view path, std::string_view text) override;
  std::string Read(std::string_view path) override;
  void Write(std::string_view path, std::string_view content) override;
  void Copy(std::string_view from, std::string_view to) override;
  void Delete(std::string_view path) override;
  /// A link counts as a file, whatever it points to.
  bool FileExists(std::string_view path) override;
  bool FolderExists(std::string_view path) override;
  void CreateFolder(std::string_view path) override;
  void RemoveEmptyFolder(std::string_view path) override;
  std::vector<std::string> List(std::string_view folder) override;
  /// Ordinary files carry the archive bit; read-only is what the owner may not write, hidden what
  /// begins with a dot.
  std::uint32_t Attributes(std::string_view path) override;
  std::int64_t Length(std::string_view path) override;
  std::string TemporaryFolder() override;

 private:
  /// Nothing for a path that leads elsewhere.
  std::optional<std::filesystem::path> PathOnDriveC(std::string_view windows_path) const;

  std::filesystem::path drive_c_;
};

}  // namespace corvessa::desk
