#include "system/errors.h"

#include "system/files.h"

namespace corvessa::system {
namespace {

std::error_code g_disk_failure;

}  // namespace

std::string PathText(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

std::filesystem::path PathOf(std::string_view text) {
  return std::u8string(text.begin(), text.end());
}

long ErrorNumberOf(std::error_code code, long missing) {
  if (code == std::errc::no_such_file_or_directory) return missing;
  if (code == std::errc::not_a_directory) return kPathNotFound;
  const bool is_forbidden = code == std::errc::permission_denied ||
                            code == std::errc::operation_not_permitted ||
                            code == std::errc::read_only_file_system;
  return is_forbidden ? kPermissionDenied : kPathFileAccess;
}

bool IsDiskFull(std::error_code code) {
  return code == std::errc::no_space_on_device || code == std::errc::file_too_large;
}

std::string ReasonText(std::error_code code) {
  if (code == std::errc::operation_not_supported) return "Not a regular file";
  if (code == std::errc::file_too_large) return "the limit on the size of files is reached";
  return IsDiskFull(code) ? "the disk is full" : code.message();
}

void RaiseIoError(const std::filesystem::path& file, std::string_view problem,
                  std::error_code code) {
  Raise(ErrorNumberOf(code),
        PathText(file) + " " + std::string(problem) + ": " + ReasonText(code) + ".");
}

void WriteFile(const std::filesystem::path& path,
               const std::function<void(AtomicFile& file)>& write) {
  std::error_code ignored;
  const auto status = std::filesystem::status(path, ignored);
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    Raise(kPathFileAccess, PathText(path) + " exists and is not a regular file.");
  }
  try {
    AtomicFile file(path);
    write(file);
  } catch (const std::system_error& error) {
    RaiseIoError(path, "cannot be written", error.code());
  }
}

void Throw(std::error_code code) {
  const bool is_of_disk = IsDiskFull(code) || code == std::errc::io_error;
  if (is_of_disk && !g_disk_failure) g_disk_failure = code;
  throw std::system_error(code);
}

std::error_code DiskFailure() {
  return g_disk_failure;
}

}  // namespace corvessa::system
