#include "windows_engine/local_paths.h"

#include <ole2.h>
#include <system_error>

#include "windows/com/errors.h"

namespace corvessa::windows {

namespace fs = std::filesystem;

fs::path LocalPath(std::string_view path) {
  return fs::path(std::u8string(path.begin(), path.end()));
}

std::uint64_t FileSize(std::string_view path) {
  std::error_code failure;
  const auto size = fs::file_size(LocalPath(path), failure);
  return failure ? 0 : size;
}

std::string NewTemporaryPath() {
  GUID guid;
  wchar_t name[40];
  com::Check(CoCreateGuid(&guid));
  StringFromGUID2(guid, name, static_cast<int>(std::size(name)));
  const auto path = fs::temp_directory_path() / (L"corvessa-" + std::wstring(name) + L".tmp");
  const auto text = path.u8string();
  return {text.begin(), text.end()};
}

}  // namespace corvessa::windows
