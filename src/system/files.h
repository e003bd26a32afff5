#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

/// Files as every supported system can offer them. Declared once here, implemented in a sibling
/// folder for each system (src/posix, src/win32); the build chooses one.
///
/// Failures throw std::system_error unless a comment says otherwise. Compare its code with
/// std::errc, never by number: the category is the system's business. A used-up quota is reported
/// as std::errc::no_space_on_device. errors.h says what a code means to a user or to the logic.
///
/// An open file keeps its content and stays readable when its name is replaced or removed, on every
/// system: the engine replaces key rings and messages while it reads the old ones.
namespace corvessa::system {

/// The path as UTF-8 text, for messages.
std::string PathText(const std::filesystem::path& path);
/// The path of a text in UTF-8.
std::filesystem::path PathOf(std::string_view text);

/// Identifies one state of a file. A file that was replaced has another number; size and time also
/// catch one that was changed in place.
struct FileStamp {
  std::uint64_t size = 0;
  std::int64_t modified_ns = 0;
  std::uint64_t file_number = 0;
  bool operator==(const FileStamp&) const = default;
};

/// The stamp of what the path leads to; nothing when there is no such file. A link that leads
/// nowhere is a failure, not a missing file.
std::optional<FileStamp> FindStamp(const std::filesystem::path& path);

/// Owns an open file; empty by default. Not inherited by programs that this one starts.
class File {
 public:
  /// Whether a symbolic link in the place of the file itself is followed.
  enum class Links { kFollow, kRefuse };

  File() = default;
  /// Takes over an open file by the system's own name for it, see Native.
  explicit File(std::intptr_t handle) : handle_(handle) {}
  File(File&& other) noexcept;
  File& operator=(File&& other) noexcept;
  ~File();

  /// Opens an ordinary file. Anything else in its place (a folder, pipe or device) is refused at
  /// once instead of being waited for.
  static File OpenForReading(const std::filesystem::path& path, Links links = Links::kFollow);
  /// The same; empty when there is no such file. A link that leads nowhere is a failure.
  static File OpenIfThere(const std::filesystem::path& path, Links links = Links::kFollow);
  /// Opens whatever the user has named, a pipe or device as well. May wait.
  static File OpenStream(const std::filesystem::path& path);
  /// The program's standard input, be it a file, pipe or device.
  static File StandardInput();
  /// Writes at the end; follows no link. Makes the file when it is missing, and in any case private
  /// to its owner.
  static File OpenForAppending(const std::filesystem::path& path);
  /// Makes a new private file to write. std::errc::file_exists: something is there, be it a link.
  static File Create(const std::filesystem::path& path);
  /// A file to write and read that has no name and vanishes when it is closed.
  static File CreateNameless(const std::filesystem::path& folder);

  explicit operator bool() const { return handle_ != kNone; }
  FileStamp Stamp() const;
  std::uint64_t Size() const { return Stamp().size; }

  /// Up to `size` bytes from the current position; 0 only at the end.
  std::size_t Read(char* buffer, std::size_t size);
  /// From the current position to the end.
  std::string ReadAll();
  /// Up to `size` bytes from `offset` on, fewer only at the end. Leaves the position as it is.
  std::size_t ReadAt(std::uint64_t offset, char* buffer, std::size_t size) const;
  void Write(std::string_view bytes);
  /// Copies `from`, from its current position to the end.
  void WriteRestOf(File& from);
  /// A hint that the file will be read once from start to end.
  void ExpectSequentialReading() const;
  /// Reports what a delayed write may still bring to light; the destructor cannot.
  void Close();

  /// The system's own name for the open file, a descriptor or a HANDLE, for a host's libraries.
  std::intptr_t Native() const { return handle_; }
  /// The same; the caller closes it from now on.
  std::intptr_t Release();

 private:
  static constexpr std::intptr_t kNone = -1;
  std::intptr_t handle_ = kNone;
};

/// A file that appears under its name whole or not at all. It is written beside its place, private
/// to its owner, and moved into place by a commit; without one it is removed. When anything fails,
/// an old file is still in place, unchanged.
///
/// Until the commit it has no name where the system can do that, so that a killed process leaves
/// nothing behind, else a temporary one.
class AtomicFile {
 public:
  explicit AtomicFile(std::filesystem::path path);
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  void Write(std::string_view bytes) { file_.Write(bytes); }
  /// Back to the start, to write over what is there.
  void Rewind();
  /// Starts again with an empty file.
  void Clear();
  /// Takes over who may use `other`.
  void CopyPermissions(const File& other);
  /// What was written so far; stays readable when this is destroyed uncommitted.
  File OpenWritten() const;
  /// See File::Native; until a commit.
  std::intptr_t Native() const { return file_.Native(); }

  /// Replaces what is in place. Survives the end of the process, not a power cut: for a file that
  /// can be made again.
  void Commit();
  /// Replaces what is in place so that even a power cut leaves the old file or the new one. Returns
  /// the reason when only the folder could not be synced, as on some network file systems; the new
  /// file is in place then.
  std::error_code CommitDurably();
  /// Like Commit, but std::errc::file_exists when something is in place, which stays.
  void CommitNew();

 private:
  std::filesystem::path path_;
  /// Empty for a file without a name.
  std::filesystem::path temporary_;
  File file_;
};

/// Keeps other processes, and other owners in this one, out while it lives. Ends with the process,
/// however that ends; the file stays behind, empty.
class FileLock {
 public:
  /// Waits until the lock is free.
  static FileLock Wait(const std::filesystem::path& path);
  /// Nothing when it is taken. Follows no link.
  static std::optional<FileLock> Try(const std::filesystem::path& path);

 private:
  explicit FileLock(File file) : file_(std::move(file)) {}

  File file_;
};

/// Makes the folder and those above it, private to its owner if it is new. Throws when it is
/// something else than a folder, or is a link unless `links` allows that.
void MakePrivateFolder(const std::filesystem::path& folder, File::Links links);

/// Makes a private folder with a new temporary name in the system's folder for temporary files.
std::filesystem::path MakeTemporaryFolder();

/// Whether AtomicFile or MakeTemporaryFolder gives such a name: a killed process leaves one behind.
bool IsTemporaryName(std::string_view name);

/// Removes the entries of the folder whose name `is_meant`, folders with all that is in them, as
/// far as they can be removed. Links are removed, not followed, and the folder itself must be none.
void RemoveEntries(const std::filesystem::path& folder,
                   const std::function<bool(std::string_view name)>& is_meant);

}  // namespace corvessa::system
