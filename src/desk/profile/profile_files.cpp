#include "desk/profile/profile_files.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "posix/file_descriptor.h"
#include "system/errors.h"
#include "system/files.h"

namespace corvessa::desk {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kTemporaryFolder = "c:\\Temp\\";
constexpr mode_t kPrivateFolder = 0700;

std::optional<struct stat> TryStat(const fs::path& path) {
  struct stat found {};
  if (lstat(path.c_str(), &found) != 0) return std::nullopt;
  return found;
}

/// `missing` is the error for a missing file; a missing parent folder is always kPathNotFound.
[[noreturn]] void RaiseFor(std::error_code code, const fs::path& path, long missing) {
  const auto folder = TryStat(path.parent_path());
  Raise(system::ErrorNumberOf(code, folder && S_ISDIR(folder->st_mode) ? missing : kPathNotFound));
}

/// Runs a body that throws std::system_error.
template <typename Body>
auto Translating(const fs::path& path, Body&& body) {
  try {
    return std::forward<Body>(body)();
  } catch (const std::system_error& error) {
    RaiseFor(error.code(), path, kFileNotFound);
  }
}

/// A link would lead out of the profile.
system::File OpenOwn(const fs::path& path) {
  return system::File::OpenForReading(path, system::File::Links::kRefuse);
}

struct stat StatOrRaise(const fs::path& path) {
  const auto found = TryStat(path);
  if (!found) RaiseFor(posix::LastError(), path, kFileNotFound);
  return *found;
}

/// A link in its place would lead out of the profile, to other people's files.
void EnsureFolder(const fs::path& path) {
  if (mkdir(path.c_str(), kPrivateFolder) == 0) return;
  if (errno != EEXIST) RaiseFor(posix::LastError(), path, kPathNotFound);
  const auto present = TryStat(path);
  if (!present || !S_ISDIR(present->st_mode)) {
    Raise(kPathFileAccess, path.string() + " is a link or a file, not a folder");
  }
}

bool IsSeparator(char c) {
  return c == '\\' || c == '/';
}

}  // namespace

ProfileFiles::ProfileFiles(fs::path drive_c) : drive_c_(std::move(drive_c)) {
  EnsureFolder(drive_c_);
  EnsureFolder(LocalPath(kTemporaryFolder));
}

fs::path ProfileFiles::LocalPath(std::string_view windows_path) const {
  auto local = PathOnDriveC(windows_path);
  if (!local) Raise(kPathNotFound);
  return std::move(*local);
}

std::optional<fs::path> ProfileFiles::PathOnDriveC(std::string_view windows_path) const {
  const bool on_drive_c = windows_path.size() >= 3 && LCase(windows_path.substr(0, 2)) == "c:" &&
                          IsSeparator(windows_path[2]);
  if (!on_drive_c || windows_path.find('\0') != std::string_view::npos) return std::nullopt;
  windows_path.remove_prefix(3);
  std::string local = drive_c_.native();
  while (!windows_path.empty()) {
    const auto end = std::ranges::find_if(windows_path, IsSeparator);
    const auto length = static_cast<std::size_t>(end - windows_path.begin());
    const std::string_view name = windows_path.substr(0, length);
    windows_path.remove_prefix(std::min(length + 1, windows_path.size()));
    if (name == "..") return std::nullopt;
    if (!name.empty() && name != ".") (local += '/') += name;
  }
  return local;
}

std::string ProfileFiles::FreshTemporaryPath() {
  auto number = std::chrono::system_clock::now().time_since_epoch().count();
  for (;; ++number) {
    std::string path = TemporaryFolder() + std::string(kFreshFilePrefix) + Decimal(number) +
                       std::string(kFreshFileSuffix);
    if (!TryStat(LocalPath(path))) return path;
  }
}

void ProfileFiles::AppendText(std::string_view path, std::string_view text) {
  const fs::path local = LocalPath(path);
  Translating(local, [&] { system::File::OpenForAppending(local).Write(text); });
}

std::string ProfileFiles::Read(std::string_view path) {
  const fs::path local = LocalPath(path);
  return Translating(local, [&] { return OpenOwn(local).ReadAll(); });
}

void ProfileFiles::Write(std::string_view path, std::string_view content) {
  const fs::path local = LocalPath(path);
  const auto present = TryStat(local);
  if (present && S_ISREG(present->st_mode) && (present->st_mode & S_IWUSR) == 0) {
    Raise(kPathFileAccess);
  }
  Translating(local, [&] {
    system::AtomicFile file(local);
    file.Write(content);
    file.Commit();
  });
}

void ProfileFiles::Copy(std::string_view from, std::string_view to) {
  const fs::path source = LocalPath(from);
  const fs::path target = LocalPath(to);
  auto read_from = Translating(source, [&] { return OpenOwn(source); });
  auto write_to = Translating(target, [&] { return system::File::Create(target); });
  try {
    Translating(target, [&] { write_to.WriteRestOf(read_from); });
  } catch (...) {
    unlink(target.c_str());
    throw;
  }
}

void ProfileFiles::Delete(std::string_view path) {
  const fs::path local = LocalPath(path);
  if (S_ISDIR(StatOrRaise(local).st_mode)) Raise(kFileNotFound);
  if (unlink(local.c_str()) != 0) RaiseFor(posix::LastError(), local, kFileNotFound);
}

bool ProfileFiles::FileExists(std::string_view path) {
  const auto local = PathOnDriveC(path);
  const auto found = local ? TryStat(*local) : std::nullopt;
  return found && !S_ISDIR(found->st_mode);
}

bool ProfileFiles::FolderExists(std::string_view path) {
  const auto local = PathOnDriveC(path);
  const auto found = local ? TryStat(*local) : std::nullopt;
  return found && S_ISDIR(found->st_mode);
}

void ProfileFiles::CreateFolder(std::string_view path) {
  const fs::path local = LocalPath(path);
  if (mkdir(local.c_str(), kPrivateFolder) != 0) RaiseFor(posix::LastError(), local, kPathNotFound);
}

void ProfileFiles::RemoveEmptyFolder(std::string_view path) {
  const fs::path local = LocalPath(path);
  if (rmdir(local.c_str()) != 0) RaiseFor(posix::LastError(), local, kPathNotFound);
}

std::vector<std::string> ProfileFiles::List(std::string_view folder) {
  const fs::path local = LocalPath(folder);
  posix::FileDescriptor opened(
      open(local.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!opened) RaiseFor(posix::LastError(), local, kPathNotFound);
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(fdopendir(opened.Get()), closedir);
  if (!entries) RaiseFor(posix::LastError(), local, kPathNotFound);
  opened.Release();
  std::vector<std::string> names;
  while (const dirent* entry = readdir(entries.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
  }
  std::ranges::sort(names);
  return names;
}

std::uint32_t ProfileFiles::Attributes(std::string_view path) {
  const fs::path local = LocalPath(path);
  const struct stat found = StatOrRaise(local);
  std::uint32_t attributes = 0;
  if (S_ISDIR(found.st_mode)) attributes |= platform::kAttributeDirectory;
  if (S_ISREG(found.st_mode)) attributes |= platform::kAttributeArchive;
  if (!S_ISLNK(found.st_mode) && (found.st_mode & S_IWUSR) == 0) {
    attributes |= platform::kAttributeReadOnly;
  }
  if (local.filename().native().starts_with('.')) attributes |= platform::kAttributeHidden;
  return attributes;
}

std::int64_t ProfileFiles::Length(std::string_view path) {
  const struct stat found = StatOrRaise(LocalPath(path));
  if (!S_ISREG(found.st_mode)) Raise(kPathFileAccess);
  return found.st_size;
}

std::string ProfileFiles::TemporaryFolder() {
  return std::string(kTemporaryFolder);
}

}  // namespace corvessa::desk
