#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <time.h>

#include "desk/mail/gmime_handle.h"

namespace corvessa::desk::mail {

/// An open file that can tell whether somebody has changed it since. A pipe is copied first.
class MailFile {
 public:
  /// "-" is the standard input. Raises Error.
  static std::shared_ptr<const MailFile> Open(const std::filesystem::path& path);

  GMimeStream* Stream() const { return stream_.get(); }
  std::uintmax_t Size() const { return static_cast<std::uintmax_t>(size_); }
  /// Raises Error when the file no longer is what was opened.
  void CheckUnchanged() const;

 private:
  MailFile(std::filesystem::path path, int descriptor);

  std::filesystem::path path_;
  Handle<GMimeStream> stream_;
  std::int64_t size_ = 0;
  timespec changed_{};
};

}  // namespace corvessa::desk::mail
