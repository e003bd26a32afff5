#include "win32/entries.h"

#include <cstring>
#include <random>
#include <vector>

#include "system/errors.h"

namespace corvessa::win32 {
namespace {

const std::wstring kUnlimited = L"\\\\?\\";
const std::wstring kDevices = L"\\\\.\\";
/// Missing from the headers.
constexpr auto kFileRenameInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
/// A virus scanner may have a file open that was just written, for a moment.
constexpr int kReplaceTries = 20;
constexpr DWORD kReplacePauseMs = 50;

std::wstring FullPath(const std::wstring& path) {
  if (path.find(L'\0') != path.npos) {
    system::Throw(std::make_error_code(std::errc::invalid_argument));
  }
  std::wstring full(MAX_PATH, L'\0');
  for (;;) {
    const DWORD size =
        GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    Check(size != 0);
    const bool was_enough = size < full.size();
    full.resize(size);
    if (!was_enough) continue;
    // A folder is the same with and without; only a drive needs it.
    if (full.ends_with(L'\\') && !full.ends_with(L":\\")) full.pop_back();
    return full;
  }
}

/// Where the old file is while Replace puts the new one in its place.
std::wstring AsidePath(const std::wstring& path) {
  return path + L".corvessa-old";
}

void Remove(const std::wstring& path) {
  // Under a name that may stay taken until the last reader has closed it.
  const std::wstring discarded = FolderOf(path) + TemporaryName();
  DeleteFileW(MoveFileExW(path.c_str(), discarded.c_str(), 0) ? discarded.c_str() : path.c_str());
}

/// As POSIX renames, at once and whatever is open; since Windows 10, and not on every file system.
bool RenameOver(HANDLE file, const std::wstring& to) {
  const std::size_t name_size = to.size() * sizeof(wchar_t);
  std::vector<std::byte> buffer(sizeof(FILE_RENAME_INFO) + name_size);
  auto* const info = reinterpret_cast<FILE_RENAME_INFO*>(buffer.data());
  info->Flags = FILE_RENAME_FLAG_REPLACE_IF_EXISTS | FILE_RENAME_FLAG_POSIX_SEMANTICS;
  info->FileNameLength = static_cast<DWORD>(name_size);
  std::memcpy(info->FileName, to.data(), name_size);
  return SetFileInformationByHandle(file, kFileRenameInfoEx, info,
                                    static_cast<DWORD>(buffer.size()));
}

/// Elsewhere an open file can be moved aside, but not replaced.
bool ReplaceOpenFile(const std::wstring& from, const std::wstring& to) {
  const std::wstring aside = AsidePath(to);
  if (!MoveFileExW(to.c_str(), aside.c_str(), MOVEFILE_REPLACE_EXISTING)) return false;
  const bool is_replaced = MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_WRITE_THROUGH);
  const DWORD error = GetLastError();
  if (!is_replaced) Recover(to);
  SetLastError(error);
  return is_replaced;
}

bool TryToReplace(HANDLE file, const std::wstring& from, const std::wstring& to) {
  return RenameOver(file, to) ||
         MoveFileExW(from.c_str(), to.c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) ||
         (GetLastError() == ERROR_ACCESS_DENIED && ReplaceOpenFile(from, to));
}

bool MayPassSoon(DWORD error) {
  return error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION ||
         error == ERROR_ALREADY_EXISTS;
}

/// What must not be moved aside.
void RefuseToReplace(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return;
  if (attributes & FILE_ATTRIBUTE_DIRECTORY) {
    system::Throw(std::make_error_code(std::errc::is_a_directory));
  }
  if (attributes & FILE_ATTRIBUTE_READONLY) system::Throw(ErrorCode(ERROR_ACCESS_DENIED));
}

}  // namespace

std::wstring SystemPath(const std::filesystem::path& path) {
  std::wstring full = StreamPath(path);
  if (full.starts_with(kDevices)) {
    system::Throw(std::make_error_code(std::errc::operation_not_supported));
  }
  return full;
}

std::wstring StreamPath(const std::filesystem::path& path) {
  std::wstring full = FullPath(path.native());
  if (full.starts_with(kDevices) || full.starts_with(kUnlimited)) return full;
  if (full.starts_with(L"\\\\")) return kUnlimited + L"UNC" + full.substr(1);
  return kUnlimited + full;
}

std::wstring FolderOf(const std::wstring& path) {
  return path.substr(0, path.rfind(L'\\') + 1);
}

std::wstring TemporaryName() {
  constexpr std::wstring_view kLetters = L"abcdefghijklmnopqrstuvwxyz0123456789";
  std::random_device random;
  std::uniform_int_distribution<std::size_t> letter(0, kLetters.size() - 1);
  std::wstring name = L".corvessa-";
  for (int i = 0; i < 6; ++i) name += kLetters[letter(random)];
  return name;
}

Handle Open(const std::wstring& path, DWORD access, DWORD disposition, DWORD flags,
            SECURITY_ATTRIBUTES* security) {
  if (disposition != OPEN_EXISTING) Recover(path);
  // Folders open with FILE_FLAG_BACKUP_SEMANTICS only.
  const auto open = [&] {
    return Handle(CreateFileW(path.c_str(), access, kShareAll, security, disposition,
                              flags | FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  };
  Handle opened = open();
  if (!opened && GetLastError() == ERROR_FILE_NOT_FOUND && Recover(path)) opened = open();
  if (!opened) ThrowLastError();
  return opened;
}

Kind KindOf(HANDLE opened, const std::wstring& path) {
  FILE_ATTRIBUTE_TAG_INFO info{};
  Check(GetFileInformationByHandleEx(opened, FileAttributeTagInfo, &info, sizeof info));
  const bool is_folder = (info.FileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  // Other reparse points are files whose content is elsewhere, such as in a cloud.
  if (info.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) {
    return {is_folder, static_cast<bool>(IsReparseTagNameSurrogate(info.ReparseTag))};
  }
  // Wine follows a link to a folder whatever it is told.
  const DWORD by_path = GetFileAttributesW(path.c_str());
  const bool is_link =
      by_path != INVALID_FILE_ATTRIBUTES && (by_path & FILE_ATTRIBUTE_REPARSE_POINT);
  return {is_folder, is_link};
}

void Replace(HANDLE file, const std::wstring& from, const std::wstring& to) {
  RefuseToReplace(to);
  for (int tries = 0; !TryToReplace(file, from, to); ++tries) {
    if (tries == kReplaceTries || !MayPassSoon(GetLastError())) ThrowLastError();
    Sleep(kReplacePauseMs);
  }
  // Also what a killed process has left: it must not come back when the file is removed.
  Remove(AsidePath(to));
}

bool Recover(const std::wstring& path) {
  return MoveFileExW(AsidePath(path).c_str(), path.c_str(), 0);
}

}  // namespace corvessa::win32
