#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "posix/file_descriptor.h"

namespace corvessa::posix {

/// In a folder, for mkostemp and mkdtemp, which put letters of their own in place of its last six.
std::string TemporaryPattern(const std::filesystem::path& folder);

/// Whether a file or folder of that name was made from the pattern.
bool IsTemporaryName(std::string_view name);

/// A file that appears under its name whole or not at all: it is written beside its place under a
/// temporary name and moved there when it is committed. Without that nothing of it stays. Only its
/// owner can read it. Failures throw std::system_error; an old file is still in its place then.
class AtomicFile {
 public:
  explicit AtomicFile(std::filesystem::path path);
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  void Write(std::string_view bytes) { WriteAll(file_.Get(), bytes); }
  /// Goes back to the start, to write over what is there.
  void Rewind();
  /// Starts again with an empty file.
  void Clear();

  /// Until it is committed.
  int Descriptor() const { return file_.Get(); }
  const std::string& TemporaryPath() const { return temporary_; }

  /// Survives the end of the process, for a file that can be made again.
  void Commit();
  /// On disk before the name changes, so that a power cut leaves the old file or the new one. Gives
  /// what kept the folder from being synced too, as on some network file systems; the file is in
  /// its place all the same.
  std::error_code CommitDurably();
  /// Fails (EEXIST) where there is a file already, which stays as it is.
  void CommitNew();

 private:
  std::filesystem::path path_;
  std::string temporary_;
  FileDescriptor file_;
};

}  // namespace corvessa::posix
