#pragma once

#include <filesystem>
#include <string>

namespace corvessa::desk {

/// Where the demo works: a folder of the user's, which stays, or a temporary one that goes.
class DemoFolder {
 public:
  /// Throws Failure for a folder that holds anything already.
  explicit DemoFolder(const std::string& keep);
  ~DemoFolder();
  DemoFolder(const DemoFolder&) = delete;
  DemoFolder& operator=(const DemoFolder&) = delete;

  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
  bool IsKept() const { return is_kept_; }

 private:
  std::filesystem::path path_;
  bool is_kept_;
};

}  // namespace corvessa::desk
