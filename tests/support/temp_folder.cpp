#include "support/temp_folder.h"

#include <stdexcept>
#include <stdlib.h>
#include <string>
#include <system_error>

namespace corvessa::testing {

TempFolder::TempFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "corvessa-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder: " + name);
  path_ = name;
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace corvessa::testing
