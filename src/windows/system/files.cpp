#include "windows/system/files.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>
#include <windows.h>

#include "base/error.h"
#include "system/errors.h"
#include "system/files.h"
#include "win32/access_list.h"
#include "win32/entries.h"
#include "win32/handle.h"
#include "win32/utf16.h"

namespace corvessa::windows {
namespace {

namespace fs = std::filesystem;

constexpr DWORD kNothing = INVALID_FILE_ATTRIBUTES;

/// What may stand in place of a file's content: a folder or a link.
constexpr DWORD kNoContent = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;

/// Only absolute paths have a meaning here: the current folder is Outlook's.
fs::path PathOf(std::string_view path) {
  const auto wide = win32::Utf16(path);
  if (!wide || wide->find(L'\0') != std::wstring::npos) Raise(kPathNotFound);
  fs::path local(*wide);
  if (!local.is_absolute()) Raise(kPathNotFound);
  return local;
}

DWORD AttributesOf(const fs::path& path) {
  return GetFileAttributesW(win32::SystemPath(path).c_str());
}

bool IsFolder(DWORD attributes) {
  return attributes != kNothing && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

/// `missing` is the error for a missing file; a missing folder above it is always kPathNotFound.
[[noreturn]] void RaiseFor(std::error_code code, const fs::path& path, long missing) {
  const bool has_folder = IsFolder(AttributesOf(path.parent_path()));
  Raise(system::ErrorNumberOf(code, has_folder ? missing : kPathNotFound));
}

/// Runs a body that throws std::system_error.
template <typename Body>
auto Translating(const fs::path& path, Body body, long missing = kFileNotFound) {
  try {
    return body();
  } catch (const std::system_error& error) {
    RaiseFor(error.code(), path, missing);
  }
}

DWORD AttributesOrRaise(const fs::path& path) {
  const DWORD attributes = AttributesOf(path);
  if (attributes == kNothing) RaiseFor(win32::ErrorCode(GetLastError()), path, kFileNotFound);
  return attributes;
}

system::File OpenOwn(const fs::path& path) {
  return system::File::OpenForReading(path, system::File::Links::kRefuse);
}

std::string AnsiText(std::string_view text) {
  const std::wstring wide = win32::ShownUtf16(text);
  const auto length = static_cast<int>(wide.size());
  const int size =
      WideCharToMultiByte(CP_ACP, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
  std::string ansi(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_ACP, 0, wide.data(), length, ansi.data(), size, nullptr, nullptr);
  return ansi;
}

}  // namespace

void WindowsFiles::AppendText(std::string_view path, std::string_view text) {
  const fs::path local = PathOf(path);
  Translating(local, [&] { system::File::OpenForAppending(local).Write(AnsiText(text)); });
}

std::string WindowsFiles::Read(std::string_view path) {
  const fs::path local = PathOf(path);
  return Translating(local, [&] { return OpenOwn(local).ReadAll(); });
}

void WindowsFiles::Write(std::string_view path, std::string_view content) {
  const fs::path local = PathOf(path);
  const DWORD attributes = AttributesOf(local);
  if (attributes != kNothing && (attributes & FILE_ATTRIBUTE_READONLY)) Raise(kPathFileAccess);
  Translating(local, [&] {
    system::AtomicFile file(local);
    file.Write(content);
    file.Commit();
  });
}

void WindowsFiles::Copy(std::string_view from, std::string_view to) {
  const fs::path source = PathOf(from);
  const fs::path target = PathOf(to);
  auto read_from = Translating(source, [&] { return OpenOwn(source); });
  Translating(target, [&] {
    auto write_to = system::File::Create(target);
    try {
      write_to.WriteRestOf(read_from);
      write_to.Close();
    } catch (...) {
      { const system::File closed = std::move(write_to); }
      DeleteFileW(win32::SystemPath(target).c_str());
      throw;
    }
  });
}

void WindowsFiles::Delete(std::string_view path) {
  const fs::path local = PathOf(path);
  if (IsFolder(AttributesOrRaise(local))) Raise(kFileNotFound);
  Translating(local, [&] { win32::Check(DeleteFileW(win32::SystemPath(local).c_str())); });
}

bool WindowsFiles::FileExists(std::string_view path) {
  try {
    const DWORD attributes = AttributesOf(PathOf(path));
    return attributes != kNothing && !IsFolder(attributes);
  } catch (const Error&) {
    return false;
  } catch (const std::system_error&) {
    return false;
  }
}

bool WindowsFiles::FolderExists(std::string_view path) {
  try {
    return IsFolder(AttributesOf(PathOf(path)));
  } catch (const Error&) {
    return false;
  } catch (const std::system_error&) {
    return false;
  }
}

void WindowsFiles::CreateFolder(std::string_view path) {
  const fs::path local = PathOf(path);
  Translating(
      local,
      [&] {
        win32::PrivateAccess is_private;
        win32::Check(CreateDirectoryW(win32::SystemPath(local).c_str(), is_private.Attributes()));
      },
      kPathNotFound);
}

void WindowsFiles::RemoveEmptyFolder(std::string_view path) {
  const fs::path local = PathOf(path);
  Translating(
      local, [&] { win32::Check(RemoveDirectoryW(win32::SystemPath(local).c_str())); },
      kPathNotFound);
}

std::vector<std::string> WindowsFiles::List(std::string_view folder) {
  const fs::path local = PathOf(folder);
  const DWORD attributes = AttributesOf(local);
  if (!IsFolder(attributes) || (attributes & FILE_ATTRIBUTE_REPARSE_POINT)) Raise(kPathNotFound);
  std::vector<std::string> names;
  Translating(
      local,
      [&] {
        for (const auto& entry : fs::directory_iterator(win32::SystemPath(local))) {
          names.push_back(win32::ShownUtf8(entry.path().filename().native()));
        }
      },
      kPathNotFound);
  std::ranges::sort(names);
  return names;
}

std::uint32_t WindowsFiles::Attributes(std::string_view path) {
  constexpr std::uint32_t kKnown = platform::kAttributeReadOnly | platform::kAttributeHidden |
                                   platform::kAttributeSystem | platform::kAttributeDirectory |
                                   platform::kAttributeArchive;
  return AttributesOrRaise(PathOf(path)) & kKnown;
}

std::int64_t WindowsFiles::Length(std::string_view path) {
  const fs::path local = PathOf(path);
  if (AttributesOrRaise(local) & kNoContent) Raise(kPathFileAccess);
  return Translating(local, [&] { return static_cast<std::int64_t>(OpenOwn(local).Size()); });
}

std::string WindowsFiles::TemporaryFolder() {
  std::array<wchar_t, MAX_PATH + 1> folder;
  const DWORD size = GetTempPathW(static_cast<DWORD>(folder.size()), folder.data());
  if (size == 0 || size >= folder.size()) Raise(kPathNotFound);
  return win32::ShownUtf8({folder.data(), size});
}

}  // namespace corvessa::windows
