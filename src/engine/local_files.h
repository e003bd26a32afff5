#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "engine/rnp_streams.h"

namespace corvessa::engine {

/// An open file of this machine; closes itself. Failures carry -8 and the file's name.
class LocalFile final {
 public:
  LocalFile() = default;
  explicit LocalFile(int descriptor) : descriptor_(descriptor) {}
  LocalFile(LocalFile&& other) noexcept;
  LocalFile& operator=(LocalFile&& other) noexcept;
  ~LocalFile();

  static LocalFile OpenForReading(const std::filesystem::path& path);
  /// Not open when there is no such file.
  static LocalFile OpenIfThere(const std::filesystem::path& path);

  bool IsOpen() const { return descriptor_ >= 0; }
  int descriptor() const { return descriptor_; }
  std::uint64_t Size() const;
  /// Up to `size` bytes from `offset` on; fewer at the end of the file.
  std::string ReadAt(std::uint64_t offset, std::size_t size) const;
  std::size_t ReadAt(std::uint64_t offset, char* buffer, std::size_t size) const;

 private:
  int descriptor_ = -1;
};

/// A file that appears under its name whole or not at all: written beside it under another name and
/// renamed by Commit; removed when there is no Commit.
class AtomicFile final : public Sink {
 public:
  explicit AtomicFile(std::filesystem::path path);
  ~AtomicFile() override;
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  void Write(std::string_view bytes) override;
  /// Overwrites bytes that were written before.
  void WriteAt(std::uint64_t offset, std::string_view bytes);
  /// Starts again with an empty file.
  void Clear();
  /// On disk before the name changes, so that a power cut leaves the old file or the new one.
  void CommitDurably();
  /// For a file that can be made again.
  void Commit();
  /// What was written so far, to be read; it stays readable when the file is removed.
  LocalFile Reopened() const { return LocalFile::OpenForReading(temporary_); }
  int descriptor() const { return file_.descriptor(); }

 private:
  std::filesystem::path path_;
  std::filesystem::path temporary_;
  LocalFile file_;
};

/// The whole file; Failure (-8) when it cannot be read or is longer than `limit` bytes.
std::string ReadWholeFile(const std::filesystem::path& path, std::size_t limit);

}  // namespace corvessa::engine
