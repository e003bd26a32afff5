#include <vector>

#include "system/errors.h"
#include "system/files.h"
#include "win32/access_list.h"
#include "win32/entries.h"
#include "win32/utf16.h"

namespace corvessa::system {
namespace {

namespace fs = std::filesystem;

bool IsFolder(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

void MakeFoldersAbove(const std::wstring& path) {
  std::wstring folder = win32::FolderOf(path);
  folder.pop_back();
  if (folder.size() == path.size() || IsFolder(folder + L'\\')) return;
  MakeFoldersAbove(folder);
  const bool is_made = CreateDirectoryW(folder.c_str(), nullptr);
  // Another process may have made it meanwhile.
  if (!is_made && !IsFolder(folder)) win32::ThrowLastError();
}

/// The names are read before the first is removed. The folder cannot be renamed while it is open.
std::vector<std::wstring> NamesIn(const std::wstring& folder) {
  std::vector<std::wstring> names;
  WIN32_FIND_DATAW entry{};
  const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &entry);
  if (search == INVALID_HANDLE_VALUE) return names;
  do {
    const std::wstring name = entry.cFileName;
    if (name != L"." && name != L"..") names.push_back(name);
  } while (FindNextFileW(search, &entry));
  FindClose(search);
  return names;
}

void RemoveTree(const std::wstring& folder);

void RemoveEntry(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  SetFileAttributesW(path.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
  if (!(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
    DeleteFileW(path.c_str());
  } else if (!RemoveDirectoryW(path.c_str()) && GetLastError() == ERROR_DIR_NOT_EMPTY) {
    RemoveTree(path);
  }
}

/// Fails when the folder is a link. While it is open nobody can put a link in its place.
win32::Handle OpenFolder(const std::wstring& folder) {
  win32::Handle opened(CreateFileW(
      folder.c_str(), FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
      OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (!opened) win32::ThrowLastError();
  const win32::Kind kind = win32::KindOf(opened.Get(), folder);
  if (kind.is_link || !kind.is_folder) Throw(std::make_error_code(std::errc::not_a_directory));
  return opened;
}

void RemoveEntriesOf(const std::wstring& folder,
                     const std::function<bool(std::string_view name)>& is_meant) {
  const win32::Handle opened = OpenFolder(folder);
  for (const auto& name : NamesIn(folder)) {
    if (is_meant(win32::ShownUtf8(name))) RemoveEntry(folder + L'\\' + name);
  }
}

void RemoveTree(const std::wstring& folder) {
  try {
    RemoveEntriesOf(folder, [](std::string_view) { return true; });
    RemoveDirectoryW(folder.c_str());
  } catch (const std::system_error&) {
    // In use, or replaced by a link: it stays.
  }
}

}  // namespace

void MakePrivateFolder(const fs::path& folder, File::Links links) {
  const std::wstring path = win32::SystemPath(folder);
  MakeFoldersAbove(path);
  win32::PrivateAccess is_private;
  if (CreateDirectoryW(path.c_str(), is_private.Attributes())) return;
  const std::error_code failure = win32::ErrorCode(GetLastError());
  if (failure != std::errc::file_exists) Throw(failure);
  const DWORD flags = links == File::Links::kRefuse ? FILE_FLAG_OPEN_REPARSE_POINT : 0;
  const win32::Kind kind =
      win32::KindOf(win32::Open(path, FILE_READ_ATTRIBUTES, OPEN_EXISTING, flags).Get(), path);
  if (!kind.is_folder || (links == File::Links::kRefuse && kind.is_link)) Throw(failure);
}

fs::path MakeTemporaryFolder() {
  wchar_t folder[MAX_PATH + 1];
  win32::Check(GetTempPathW(static_cast<DWORD>(std::size(folder)), folder) != 0);
  win32::PrivateAccess is_private;
  for (;;) {
    const fs::path path = folder + win32::TemporaryName();
    if (CreateDirectoryW(path.c_str(), is_private.Attributes())) return path;
    if (GetLastError() != ERROR_ALREADY_EXISTS) win32::ThrowLastError();
  }
}

bool IsTemporaryName(std::string_view name) {
  constexpr std::string_view kPattern = ".corvessa-xxxxxx";
  return name.size() == kPattern.size() && name.starts_with(kPattern.substr(0, 10));
}

void RemoveEntries(const fs::path& folder,
                   const std::function<bool(std::string_view name)>& is_meant) {
  RemoveEntriesOf(win32::SystemPath(folder), is_meant);
}

}  // namespace corvessa::system
