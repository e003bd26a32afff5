#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "engine/rnp_streams.h"
#include "system/files.h"

/// Files of this machine with the engine's way to fail: what goes wrong throws a failure (-8) that
/// names the file, where system/files.h throws std::system_error.
namespace corvessa::engine {

/// A file open for reading.
class LocalFile final {
 public:
  LocalFile() = default;
  explicit LocalFile(system::File file) : file_(std::move(file)) {}

  static LocalFile OpenForReading(const std::filesystem::path& path);
  /// Not open when there is no such file; a link that leads nowhere is a failure.
  static LocalFile OpenIfThere(const std::filesystem::path& path);

  bool IsOpen() const { return static_cast<bool>(file_); }
  const system::File& Handle() const { return file_; }
  system::FileStamp Stamp() const;
  std::uint64_t Size() const { return Stamp().size; }
  /// Up to `size` bytes from `offset` on; fewer at the end of the file.
  std::string ReadAt(std::uint64_t offset, std::size_t size) const;
  std::size_t ReadAt(std::uint64_t offset, char* buffer, std::size_t size) const;

 private:
  system::File file_;
};

/// Reads an open file from its start, with `replacement` in place of its first `replaced` bytes.
class FileSource final : public Source {
 public:
  explicit FileSource(const LocalFile& file, std::string_view replacement = {},
                      std::size_t replaced = 0);
  std::size_t Read(char* buffer, std::size_t size) override;

 private:
  const LocalFile& file_;
  std::string replacement_;
  std::size_t given_ = 0;  ///< of the replacement
  std::uint64_t position_ = 0;
};

/// A file that appears whole or not at all, for the library to write into.
class FileSink final : public Sink {
 public:
  explicit FileSink(std::filesystem::path path);

  void Write(std::string_view bytes) override;
  /// Writes over the first bytes, at the end of the work.
  void Overwrite(std::string_view start);
  /// Starts again with an empty file.
  void Clear();
  void CopyPermissions(const LocalFile& other);
  /// A power cut leaves the old file or the new one.
  void CommitDurably();
  /// For a file that can be made again.
  void Commit();
  /// What was written so far; stays readable when this file is removed.
  LocalFile OpenWritten() const;

 private:
  std::filesystem::path path_;
  system::AtomicFile file_;
};

/// The whole file; fails when it is longer than `limit` bytes.
std::string ReadWholeFile(const std::filesystem::path& path, std::size_t limit);

}  // namespace corvessa::engine
