#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace corvessa::testing {

/// A fresh private folder below the system's temporary folder, removed with all it holds at the
/// end.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& Path() const { return path_; }
  std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

/// A whole file's bytes; none when it is not there.
std::string ContentOf(const std::filesystem::path& path);
/// Makes or replaces the file.
void WriteContent(const std::filesystem::path& path, std::string_view bytes);

}  // namespace corvessa::testing
