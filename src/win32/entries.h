#pragma once

#include <filesystem>
#include <string>
#include <windows.h>

#include "win32/handle.h"

/// Entries of folders by their paths.
namespace corvessa::win32 {

/// The full path in the form that has no limit of 260 characters and reads a name as it is. Throws
/// when the path names a device, which has no place among files.
std::wstring SystemPath(const std::filesystem::path& path);
/// The same for what may be a device.
std::wstring StreamPath(const std::filesystem::path& path);

/// The folder of a system path, with the backslash.
std::wstring FolderOf(const std::wstring& path);

/// A random name that system::IsTemporaryName knows.
std::wstring TemporaryName();

/// Opens a file or folder, which others may read, change, rename and remove meanwhile. A link
/// itself is opened with FILE_FLAG_OPEN_REPARSE_POINT. Recovers the file first, see below.
Handle Open(const std::wstring& path, DWORD access, DWORD disposition, DWORD flags = 0,
            SECURITY_ATTRIBUTES* security = nullptr);

/// What an open handle leads to.
struct Kind {
  bool is_folder;
  /// A symbolic link or junction; only when opened with FILE_FLAG_OPEN_REPARSE_POINT.
  bool is_link;
};
Kind KindOf(HANDLE opened, const std::wstring& path);

/// Puts `file`, which is open with DELETE and whose path is `from`, in the place of `to`. Readers
/// that have the old file open keep it. Before Windows 10, that takes two steps, with the old file
/// moved aside between them; Recover undoes the first one.
void Replace(HANDLE file, const std::wstring& from, const std::wstring& to);

/// Puts the old file back when a process was killed in the midst of Replace. Returns whether it
/// was.
bool Recover(const std::wstring& path);

}  // namespace corvessa::win32
