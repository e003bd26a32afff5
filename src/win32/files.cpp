#include "system/files.h"

#include <algorithm>

#include "system/errors.h"
#include "win32/access_list.h"
#include "win32/entries.h"

namespace corvessa::system {
namespace {

namespace fs = std::filesystem;
using win32::Check;

constexpr DWORD kLargestTransfer = 1 << 30;
constexpr DWORD kAccessList = READ_CONTROL | WRITE_DAC;

HANDLE Win32(std::intptr_t handle) {
  return reinterpret_cast<HANDLE>(handle);
}

File Own(win32::Handle handle) {
  return File(reinterpret_cast<std::intptr_t>(handle.Release()));
}

DWORD TransferSize(std::size_t size) {
  return static_cast<DWORD>(std::min<std::size_t>(size, kLargestTransfer));
}

DWORD FlagsFor(File::Links links) {
  return links == File::Links::kRefuse ? FILE_FLAG_OPEN_REPARSE_POINT : 0;
}

File OpenOrdinary(const fs::path& path, DWORD access, DWORD disposition, File::Links links) {
  const std::wstring system_path = win32::SystemPath(path);
  win32::PrivateAccess is_private;
  win32::Handle file =
      win32::Open(system_path, access, disposition, FlagsFor(links), is_private.Attributes());
  const win32::Kind kind = win32::KindOf(file.Get(), system_path);
  if (links == File::Links::kRefuse && kind.is_link) {
    Throw(std::make_error_code(std::errc::too_many_symbolic_link_levels));
  }
  if (kind.is_folder) Throw(std::make_error_code(std::errc::is_a_directory));
  return Own(std::move(file));
}

/// A new private file with a temporary name in the folder; `path` gets its path.
File CreateTemporary(const std::wstring& folder, DWORD flags, std::wstring& path) {
  win32::PrivateAccess is_private;
  for (;;) {
    path = folder + win32::TemporaryName();
    try {
      return Own(win32::Open(path, GENERIC_READ | GENERIC_WRITE | DELETE | kAccessList, CREATE_NEW,
                             flags, is_private.Attributes()));
    } catch (const std::system_error& error) {
      if (error.code() != std::errc::file_exists) throw;
    }
  }
}

FileStamp StampOf(HANDLE file) {
  BY_HANDLE_FILE_INFORMATION info{};
  Check(GetFileInformationByHandle(file, &info));
  const auto joined = [](DWORD high, DWORD low) { return std::uint64_t{high} << 32 | low; };
  const std::uint64_t modified_100ns =
      joined(info.ftLastWriteTime.dwHighDateTime, info.ftLastWriteTime.dwLowDateTime);
  return {joined(info.nFileSizeHigh, info.nFileSizeLow),
          static_cast<std::int64_t>(modified_100ns * 100),
          joined(info.nFileIndexHigh, info.nFileIndexLow)};
}

void Seek(HANDLE file, std::int64_t position) {
  LARGE_INTEGER place{};
  place.QuadPart = position;
  Check(SetFilePointerEx(file, place, nullptr, FILE_BEGIN));
}

std::int64_t PositionIn(HANDLE file) {
  LARGE_INTEGER position{};
  Check(SetFilePointerEx(file, {}, &position, FILE_CURRENT));
  return position.QuadPart;
}

/// Up to `size` bytes; 0 at the end of the file, be it that the other end of a pipe was closed.
std::size_t ReadSome(HANDLE file, char* buffer, std::size_t size, OVERLAPPED* from = nullptr) {
  DWORD count = 0;
  if (ReadFile(file, buffer, TransferSize(size), &count, from)) return count;
  const DWORD error = GetLastError();
  if (error != ERROR_HANDLE_EOF && error != ERROR_BROKEN_PIPE) win32::ThrowLastError();
  return 0;
}

}  // namespace

std::optional<FileStamp> FindStamp(const fs::path& path) {
  const std::wstring system_path = win32::SystemPath(path);
  try {
    return StampOf(win32::Open(system_path, FILE_READ_ATTRIBUTES, OPEN_EXISTING).Get());
  } catch (const std::system_error& error) {
    const bool is_there = GetFileAttributesW(system_path.c_str()) != INVALID_FILE_ATTRIBUTES;
    if (error.code() != std::errc::no_such_file_or_directory || is_there) throw;
    return std::nullopt;
  }
}

File::File(File&& other) noexcept : handle_(other.Release()) {}

File& File::operator=(File&& other) noexcept {
  std::swap(handle_, other.handle_);
  return *this;
}

File::~File() {
  if (*this) CloseHandle(Win32(handle_));
}

File File::OpenForReading(const fs::path& path, Links links) {
  return OpenOrdinary(path, GENERIC_READ, OPEN_EXISTING, links);
}

File File::OpenIfThere(const fs::path& path, Links links) {
  return FindStamp(path) ? OpenForReading(path, links) : File();
}

File File::OpenStream(const fs::path& path) {
  return Own(win32::Open(win32::StreamPath(path), GENERIC_READ, OPEN_EXISTING));
}

File File::StandardInput() {
  const HANDLE process = GetCurrentProcess();
  HANDLE input = nullptr;
  Check(DuplicateHandle(process, GetStdHandle(STD_INPUT_HANDLE), process, &input, 0, FALSE,
                        DUPLICATE_SAME_ACCESS));
  return Own(win32::Handle(input));
}

File File::OpenForAppending(const fs::path& path) {
  File file =
      OpenOrdinary(path, FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE | kAccessList,
                   OPEN_ALWAYS, Links::kRefuse);
  win32::PrivateAccess().ApplyTo(Win32(file.Native()));
  return file;
}

File File::Create(const fs::path& path) {
  win32::PrivateAccess is_private;
  return Own(win32::Open(win32::SystemPath(path), GENERIC_WRITE, CREATE_NEW,
                         FILE_FLAG_OPEN_REPARSE_POINT, is_private.Attributes()));
}

File File::CreateNameless(const fs::path& folder) {
  std::wstring path;
  return CreateTemporary(win32::SystemPath(folder) + L'\\',
                         FILE_FLAG_DELETE_ON_CLOSE | FILE_ATTRIBUTE_TEMPORARY, path);
}

FileStamp File::Stamp() const {
  return StampOf(Win32(handle_));
}

std::size_t File::Read(char* buffer, std::size_t size) {
  return ReadSome(Win32(handle_), buffer, size);
}

std::string File::ReadAll() {
  std::string bytes;
  for (;;) {
    constexpr std::size_t kStep = 1 << 16;
    const std::size_t done = bytes.size();
    bytes.resize(done + kStep);
    const std::size_t count = Read(bytes.data() + done, kStep);
    bytes.resize(done + count);
    if (count == 0) return bytes;
  }
}

std::size_t File::ReadAt(std::uint64_t offset, char* buffer, std::size_t size) const {
  const HANDLE file = Win32(handle_);
  const std::int64_t position = PositionIn(file);
  std::size_t done = 0;
  for (std::size_t count = 1; done < size && count > 0; done += count) {
    OVERLAPPED from{};
    from.Offset = static_cast<DWORD>(offset + done);
    from.OffsetHigh = static_cast<DWORD>((offset + done) >> 32);
    count = ReadSome(file, buffer + done, size - done, &from);
  }
  Seek(file, position);
  return done;
}

void File::Write(std::string_view bytes) {
  while (!bytes.empty()) {
    DWORD count = 0;
    Check(::WriteFile(Win32(handle_), bytes.data(), TransferSize(bytes.size()), &count, nullptr));
    bytes.remove_prefix(count);
  }
}

void File::WriteRestOf(File& from) {
  std::string buffer(1 << 16, '\0');
  while (const std::size_t count = from.Read(buffer.data(), buffer.size())) {
    Write({buffer.data(), count});
  }
}

// Windows finds out by itself.
void File::ExpectSequentialReading() const {}

void File::Close() {
  Check(CloseHandle(Win32(Release())));
}

std::intptr_t File::Release() {
  return std::exchange(handle_, kNone);
}

AtomicFile::AtomicFile(fs::path path) : path_(win32::SystemPath(path)) {
  std::wstring temporary;
  file_ = CreateTemporary(win32::FolderOf(path_.native()), 0, temporary);
  temporary_ = temporary;
}

AtomicFile::~AtomicFile() {
  if (!temporary_.empty()) DeleteFileW(temporary_.c_str());
}

void AtomicFile::Rewind() {
  Seek(Win32(Native()), 0);
}

void AtomicFile::Clear() {
  Rewind();
  Check(SetEndOfFile(Win32(Native())));
}

void AtomicFile::CopyPermissions(const File& other) {
  win32::CopyAccessList(Win32(other.Native()), Win32(Native()));
}

File AtomicFile::OpenWritten() const {
  return File::OpenForReading(temporary_);
}

void AtomicFile::Commit() {
  win32::Replace(Win32(Native()), temporary_.native(), path_.native());
  temporary_.clear();
  file_.Close();
}

std::error_code AtomicFile::CommitDurably() {
  Check(FlushFileBuffers(Win32(Native())));
  win32::Replace(Win32(Native()), temporary_.native(), path_.native());
  temporary_.clear();
  // The new name of a file is flushed with it.
  const bool is_flushed = FlushFileBuffers(Win32(Native()));
  const std::error_code trouble = is_flushed ? std::error_code() : win32::ErrorCode(GetLastError());
  file_.Close();
  return trouble;
}

void AtomicFile::CommitNew() {
  win32::Recover(path_.native());
  Check(MoveFileExW(temporary_.c_str(), path_.c_str(), MOVEFILE_WRITE_THROUGH));
  temporary_.clear();
  file_.Close();
}

namespace {

/// One byte far behind all content, which everybody can still read then.
bool Lock(const File& file, DWORD flags) {
  OVERLAPPED place{};
  place.OffsetHigh = 0x7fffffff;
  return LockFileEx(Win32(file.Native()), LOCKFILE_EXCLUSIVE_LOCK | flags, 0, 1, 0, &place);
}

}  // namespace

FileLock FileLock::Wait(const fs::path& path) {
  File file = OpenOrdinary(path, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS, File::Links::kFollow);
  Check(Lock(file, 0));
  return FileLock(std::move(file));
}

std::optional<FileLock> FileLock::Try(const fs::path& path) {
  File file = OpenOrdinary(path, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS, File::Links::kRefuse);
  if (Lock(file, LOCKFILE_FAIL_IMMEDIATELY)) return FileLock(std::move(file));
  const DWORD error = GetLastError();
  if (error != ERROR_LOCK_VIOLATION && error != ERROR_IO_PENDING) win32::ThrowLastError();
  return std::nullopt;
}

}  // namespace corvessa::system
