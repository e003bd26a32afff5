#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "engine/rnp_streams.h"
#include "posix/atomic_file.h"
#include "posix/file_descriptor.h"

namespace corvessa::engine {

/// A file of this machine, open for reading. Failures carry -8 and the file's name.
class LocalFile final {
 public:
  LocalFile() = default;

  static LocalFile OpenForReading(const std::filesystem::path& path);
  /// Not open when there is no such file; a link that leads nowhere is a failure.
  static LocalFile OpenIfThere(const std::filesystem::path& path);

  bool IsOpen() const { return static_cast<bool>(file_); }
  int descriptor() const { return file_.Get(); }
  std::uint64_t Size() const;
  /// Up to `size` bytes from `offset` on; fewer at the end of the file.
  std::string ReadAt(std::uint64_t offset, std::size_t size) const;
  std::size_t ReadAt(std::uint64_t offset, char* buffer, std::size_t size) const;

 private:
  explicit LocalFile(const std::filesystem::path& path);

  posix::FileDescriptor file_;
};

/// A file that appears whole or not at all, for the library to write into. Failures carry -8 and
/// the file's name.
class FileSink final : public Sink {
 public:
  explicit FileSink(std::filesystem::path path);

  void Write(std::string_view bytes) override;
  /// Writes over the first bytes, at the end of the work.
  void Overwrite(std::string_view start);
  /// Starts again with an empty file.
  void Clear();
  /// A power cut leaves the old file or the new one.
  void CommitDurably();
  /// For a file that can be made again.
  void Commit();
  /// What was written so far, to be read; it stays readable when the file is removed.
  LocalFile Reopened() const { return LocalFile::OpenForReading(file_.TemporaryPath()); }
  int descriptor() const { return file_.Descriptor(); }

 private:
  std::filesystem::path path_;
  posix::AtomicFile file_;
};

/// The whole file; Failure (-8) when it cannot be read or is longer than `limit` bytes.
std::string ReadWholeFile(const std::filesystem::path& path, std::size_t limit);

}  // namespace corvessa::engine
