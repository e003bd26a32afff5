#include "desk/commands/demo_folder.h"

#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>
#include <system_error>

#include "desk/failure.h"

namespace corvessa::desk {
namespace {

namespace fs = std::filesystem;

fs::path Temporary() {
  std::string pattern = (fs::temp_directory_path() / "corvessa-demo-XXXXXX").string();
  if (!mkdtemp(pattern.data())) {
    Fail(Outcome::kEnvironment,
         "no temporary folder can be made: " + std::generic_category().message(errno));
  }
  return pattern;
}

fs::path Kept(const fs::path& folder) {
  std::error_code failure;
  if (mkdir(folder.c_str(), 0700) == 0) return folder;
  if (errno != EEXIST) {
    Fail(Outcome::kEnvironment,
         folder.string() + " cannot be made: " + std::generic_category().message(errno));
  }
  if (!fs::is_directory(folder, failure) || !fs::is_empty(folder, failure) || failure) {
    Fail(Outcome::kEnvironment, folder.string() + " is no empty folder; name a new one");
  }
  return folder;
}

}  // namespace

DemoFolder::DemoFolder(const std::string& keep)
    : path_(keep.empty() ? Temporary() : Kept(keep)), is_kept_(!keep.empty()) {}

DemoFolder::~DemoFolder() {
  std::error_code ignored;
  if (!is_kept_) fs::remove_all(path_, ignored);
}

}  // namespace corvessa::desk
