#include "system/files.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "posix/file_descriptor.h"
#include "system/errors.h"

namespace corvessa::system {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kPrefix = ".corvessa-";
constexpr std::string_view kReplaced = "XXXXXX";
constexpr mode_t kPrivateFile = 0600;
constexpr mode_t kPrivateFolder = 0700;

void Check(bool succeeded) {
  if (!succeeded) posix::ThrowLastError();
}

int Number(std::intptr_t handle) {
  return static_cast<int>(handle);
}

int Open(const fs::path& path, int flags) {
  const int number = open(path.c_str(), flags | O_CLOEXEC, kPrivateFile);
  Check(number >= 0);
  return number;
}

/// Opening does not wait for the other end of a pipe.
int OpenOrdinary(const fs::path& path, int flags) {
  posix::FileDescriptor file(Open(path, flags | O_NONBLOCK));
  struct stat status {};
  Check(fstat(file.Get(), &status) == 0);
  if (S_ISDIR(status.st_mode)) Throw(std::make_error_code(std::errc::is_a_directory));
  if (!S_ISREG(status.st_mode)) Throw(std::make_error_code(std::errc::operation_not_supported));
  return file.Release();
}

FileStamp StampOf(const struct stat& status) {
  return {static_cast<std::uint64_t>(status.st_size),
          std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec,
          static_cast<std::uint64_t>(status.st_ino)};
}

/// For mkostemp and mkdtemp, which put letters of their own in place of its last six.
std::string TemporaryPattern(const fs::path& folder) {
  return (folder / kPrefix).string().append(kReplaced);
}

std::error_code Sync(const fs::path& folder) {
  const posix::FileDescriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened && fsync(opened.Get()) == 0) return {};
  return posix::LastError();
}

fs::path FolderOf(const fs::path& path) {
  return path.has_parent_path() ? path.parent_path() : ".";
}

/// The name by which the system knows an open file, also one without a name.
std::string ProcessPath(int file) {
  return "/proc/self/fd/" + std::to_string(file);
}

/// Nothing where the file system or the lack of /proc does not allow it.
File TryCreateNameless(const fs::path& folder) {
  static const bool has_process_paths = access("/proc/self/fd", X_OK) == 0;
  if (!has_process_paths) return {};
  return File(open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, kPrivateFile));
}

bool TryLink(int file, const fs::path& path) {
  return linkat(AT_FDCWD, ProcessPath(file).c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) ==
         0;
}

/// Gives a file without a name a temporary one.
fs::path LinkTemporarily(int file, const fs::path& folder) {
  constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz0123456789";
  for (;;) {
    std::array<unsigned char, kReplaced.size()> random{};
    Check(getentropy(random.data(), random.size()) == 0);
    std::string name = TemporaryPattern(folder);
    name.resize(name.size() - kReplaced.size());
    for (const auto one : random) name += kLetters[one % kLetters.size()];
    if (TryLink(file, name)) return name;
    Check(errno == EEXIST);
  }
}

}  // namespace

std::optional<FileStamp> FindStamp(const fs::path& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) return StampOf(status);
  const auto error = posix::LastError();
  if (error == std::errc::no_such_file_or_directory && lstat(path.c_str(), &status) != 0) {
    return std::nullopt;
  }
  Throw(error);
}

File::File(File&& other) noexcept : handle_(other.Release()) {}

File& File::operator=(File&& other) noexcept {
  std::swap(handle_, other.handle_);
  return *this;
}

File::~File() {
  if (*this) close(Number(handle_));
}

File File::OpenForReading(const fs::path& path, Links links) {
  return File(OpenOrdinary(path, O_RDONLY | (links == Links::kRefuse ? O_NOFOLLOW : 0)));
}

File File::OpenIfThere(const fs::path& path, Links links) {
  return FindStamp(path) ? OpenForReading(path, links) : File();
}

File File::OpenStream(const fs::path& path) {
  return File(Open(path, O_RDONLY));
}

File File::StandardInput() {
  File input(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
  Check(static_cast<bool>(input));
  return input;
}

File File::OpenForAppending(const fs::path& path) {
  File file(OpenOrdinary(path, O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW));
  Check(fchmod(Number(file.Native()), kPrivateFile) == 0);
  return file;
}

File File::Create(const fs::path& path) {
  return File(Open(path, O_WRONLY | O_CREAT | O_EXCL));
}

File File::CreateNameless(const fs::path& folder) {
  if (auto file = TryCreateNameless(folder)) return file;
  std::string name = TemporaryPattern(folder);
  File file(mkostemp(name.data(), O_CLOEXEC));
  Check(static_cast<bool>(file));
  Check(unlink(name.c_str()) == 0);
  return file;
}

FileStamp File::Stamp() const {
  struct stat status {};
  Check(fstat(Number(handle_), &status) == 0);
  return StampOf(status);
}

std::size_t File::Read(char* buffer, std::size_t size) {
  return posix::ReadSome(Number(handle_), buffer, size);
}

std::string File::ReadAll() {
  return posix::ReadAll(Number(handle_));
}

std::size_t File::ReadAt(std::uint64_t offset, char* buffer, std::size_t size) const {
  return posix::ReadAt(Number(handle_), offset, buffer, size);
}

void File::Write(std::string_view bytes) {
  posix::WriteAll(Number(handle_), bytes);
}

void File::WriteRestOf(File& from) {
  posix::CopyAll(Number(from.handle_), Number(handle_));
}

void File::ExpectSequentialReading() const {
  posix_fadvise(Number(handle_), 0, 0, POSIX_FADV_SEQUENTIAL);
}

void File::Close() {
  Check(close(Number(Release())) == 0);
}

std::intptr_t File::Release() {
  return std::exchange(handle_, kNone);
}

// The temporary name is not the file's own with an addition, which could be too long.
AtomicFile::AtomicFile(fs::path path)
    : path_(std::move(path)), file_(TryCreateNameless(FolderOf(path_))) {
  if (file_) return;
  std::string name = TemporaryPattern(path_.parent_path());
  file_ = File(mkostemp(name.data(), O_CLOEXEC));
  Check(static_cast<bool>(file_));
  temporary_ = name;
}

AtomicFile::~AtomicFile() {
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

void AtomicFile::Rewind() {
  Check(lseek(Number(Native()), 0, SEEK_SET) == 0);
}

void AtomicFile::Clear() {
  Check(ftruncate(Number(Native()), 0) == 0);
  Rewind();
}

void AtomicFile::CopyPermissions(const File& other) {
  struct stat status {};
  Check(fstat(Number(other.Native()), &status) == 0);
  Check(fchmod(Number(Native()), status.st_mode & 07777) == 0);
}

File AtomicFile::OpenWritten() const {
  return File::OpenForReading(temporary_.empty() ? fs::path(ProcessPath(Number(Native())))
                                                 : temporary_);
}

void AtomicFile::Commit() {
  if (temporary_.empty()) {
    // Most files are new.
    if (TryLink(Number(Native()), path_)) return file_.Close();
    temporary_ = LinkTemporarily(Number(Native()), FolderOf(path_));
  }
  file_.Close();
  Check(rename(temporary_.c_str(), path_.c_str()) == 0);
  temporary_.clear();
}

std::error_code AtomicFile::CommitDurably() {
  Check(fsync(Number(Native())) == 0);
  Commit();
  return Sync(FolderOf(path_));
}

void AtomicFile::CommitNew() {
  if (temporary_.empty()) {
    Check(TryLink(Number(Native()), path_));
    file_.Close();
    return;
  }
  file_.Close();
  Check(renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, path_.c_str(), RENAME_NOREPLACE) == 0);
  temporary_.clear();
}

FileLock FileLock::Wait(const fs::path& path) {
  File file(OpenOrdinary(path, O_RDWR | O_CREAT));
  Check(flock(Number(file.Native()), LOCK_EX) == 0);
  return FileLock(std::move(file));
}

std::optional<FileLock> FileLock::Try(const fs::path& path) {
  File file(OpenOrdinary(path, O_RDWR | O_CREAT | O_NOFOLLOW));
  if (flock(Number(file.Native()), LOCK_EX | LOCK_NB) == 0) return FileLock(std::move(file));
  if (errno == EWOULDBLOCK) return std::nullopt;
  posix::ThrowLastError();
}

void MakePrivateFolder(const fs::path& folder, File::Links links) {
  if (folder.has_parent_path()) {
    std::error_code failure;
    fs::create_directories(folder.parent_path(), failure);
    if (failure) Throw(failure);
  }
  if (mkdir(folder.c_str(), kPrivateFolder) == 0) return;
  const auto failure = posix::LastError();
  struct stat status {};
  const bool is_there = links == File::Links::kFollow ? stat(folder.c_str(), &status) == 0
                                                      : lstat(folder.c_str(), &status) == 0;
  if (!is_there || !S_ISDIR(status.st_mode)) Throw(failure);
}

fs::path MakeTemporaryFolder() {
  std::string pattern = TemporaryPattern(fs::temp_directory_path());
  Check(mkdtemp(pattern.data()) != nullptr);
  return pattern;
}

bool IsTemporaryName(std::string_view name) {
  return name.starts_with(kPrefix) && name.size() == kPrefix.size() + kReplaced.size();
}

void RemoveEntries(const fs::path& folder,
                   const std::function<bool(std::string_view name)>& is_meant) {
  const posix::FileDescriptor opened(Open(folder, O_RDONLY | O_DIRECTORY | O_NOFOLLOW));
  // By way of the open folder, so that nobody can put a link in its place meanwhile.
  const fs::path held = ProcessPath(opened.Get());
  std::error_code ignored;
  std::vector<fs::path> meant;
  for (fs::directory_iterator entry(held, ignored), end; entry != end; entry.increment(ignored)) {
    if (is_meant(entry->path().filename().native())) meant.push_back(entry->path());
  }
  for (const auto& path : meant) fs::remove_all(path, ignored);
}

}  // namespace corvessa::system
