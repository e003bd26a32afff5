#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corvessa::platform {

/// Win32 file attribute bits.
inline constexpr std::uint32_t kAttributeReadOnly = 1;
inline constexpr std::uint32_t kAttributeHidden = 2;
inline constexpr std::uint32_t kAttributeSystem = 4;
inline constexpr std::uint32_t kAttributeDirectory = 16;
inline constexpr std::uint32_t kAttributeArchive = 32;

/// The file system. Paths are Windows paths with backslashes; this interface owns what they mean.
/// Failures throw Error: 53 file not found, 70 permission denied, 76 path not found, else 75. No
/// operation follows a link in the last component of a path.
class Files {
 public:
  virtual ~Files() = default;
  /// Appends to a file, creating it, readable by its owner only.
  virtual void AppendText(std::string_view path, std::string_view text) = 0;
  virtual std::string Read(std::string_view path) = 0;
  /// Replaces or creates a file, readable by its owner only; a failure leaves no half-written file.
  virtual void Write(std::string_view path, std::string_view content) = 0;
  /// Copies a file's content to a new file; an existing one is an error (75).
  virtual void Copy(std::string_view from, std::string_view to) = 0;
  virtual void Delete(std::string_view path) = 0;
  virtual bool FileExists(std::string_view path) = 0;
  virtual bool FolderExists(std::string_view path) = 0;
  /// Makes one folder, private to its owner; an existing one is an error (75).
  virtual void CreateFolder(std::string_view path) = 0;
  /// Removes a folder that holds nothing; 75 when it holds anything.
  virtual void RemoveEmptyFolder(std::string_view path) = 0;
  /// The names of all files and folders in a folder, hidden ones included, sorted.
  virtual std::vector<std::string> List(std::string_view folder) = 0;
  /// kAttribute… bits.
  virtual std::uint32_t Attributes(std::string_view path) = 0;
  /// Length in bytes.
  virtual std::int64_t Length(std::string_view path) = 0;
  /// The user's folder for temporary files, with a trailing backslash.
  virtual std::string TemporaryFolder() = 0;
};

}  // namespace corvessa::platform
