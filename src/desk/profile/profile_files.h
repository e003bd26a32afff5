#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"

namespace corvessa::desk {

/// The files of a profile. Drive C is a folder; no other drive exists. Names are case-sensitive, so
/// that two attachments never share a file. A path stays below the folder: ".." and anything but an
/// absolute path on drive C fails with Error 76, and nothing exists there. Only regular files are
/// opened, never links, FIFOs or devices.
class ProfileFiles final : public platform::Files {
 public:
  /// Creates the folder and its temporary folder if missing, private to the owner.
  explicit ProfileFiles(std::filesystem::path drive_c);

  /// The local file behind a Windows path; "c:\" is the folder itself. Throws Error 76.
  std::filesystem::path LocalPath(std::string_view windows_path) const;
  /// An unused path in the temporary folder. The file is not created.
  std::string FreshTemporaryPath();

  void AppendText(std::string_view path, std::string_view text) override;
  std::string Read(std::string_view path) override;
  void Write(std::string_view path, std::string_view content) override;
  void Copy(std::string_view from, std::string_view to) override;
  void Delete(std::string_view path) override;
  /// A link counts as a file.
  bool FileExists(std::string_view path) override;
  bool FolderExists(std::string_view path) override;
  void CreateFolder(std::string_view path) override;
  void RemoveEmptyFolder(std::string_view path) override;
  std::vector<std::string> List(std::string_view folder) override;
  /// Regular files have the archive bit. A file without write permission for its owner is
  /// read-only, a name that begins with a dot hidden.
  std::uint32_t Attributes(std::string_view path) override;
  std::int64_t Length(std::string_view path) override;
  std::string TemporaryFolder() override;

 private:
  /// Nothing for a path outside drive C.
  std::optional<std::filesystem::path> PathOnDriveC(std::string_view windows_path) const;

  std::filesystem::path drive_c_;
};

// Names of the program's temporary files, beside the add-in's private folders: fresh files, with a
// number between prefix and suffix, and the folder to which attachments are saved.
inline constexpr std::string_view kFreshFilePrefix = "~";
inline constexpr std::string_view kFreshFileSuffix = ".tmp";
inline constexpr std::string_view kSavingFolder = "Saving";

/// Removes what a killed run has left in the temporary folder. Only names that this program uses
/// are removed; everything else, and what cannot be removed, stays. Throws Error 75 if the folder
/// is a link or cannot be opened.
void RemoveTemporaryLeftovers(const std::filesystem::path& temporary_folder);

/// Removes files in a folder that a killed run did not finish writing (system::AtomicFile), in the
/// same way. A missing folder has none.
void RemoveUnfinishedFiles(const std::filesystem::path& folder);

}  // namespace corvessa::desk
