#pragma once

#include <filesystem>

namespace corvessa::desk::mail {

/// A file that appears whole or not at all: it is written beside its place under a hidden name and
/// moved there by Commit. Without Commit nothing of it stays. Only its owner can read it.
class AtomicFile {
 public:
  /// Raises Error when the folder takes no new file.
  explicit AtomicFile(std::filesystem::path path);
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  int Descriptor() const { return descriptor_; }

  enum class Safety { kFast, kSurvivesPowerLoss };
  /// Raises Error; the old file is still in its place then.
  void Commit(Safety safety);
  /// Fails (kPathFileAccess) where there is a file already, which stays as it is.
  void CommitNew();

  /// Raises the Error of a failed write into this file.
  [[noreturn]] void RaiseWriteError(int error_code) const;

 private:
  void SyncFolder() const;

  std::filesystem::path path_;
  std::filesystem::path temporary_;
  int descriptor_ = -1;
};

}  // namespace corvessa::desk::mail
