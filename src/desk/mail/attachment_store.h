#pragma once

#include <functional>
#include <memory>

#include "desk/mail/attachment_bytes.h"

namespace corvessa::desk::mail {

/// Copies of attachments of any number and size in one nameless temporary file, which goes with the
/// last of them.
class AttachmentStore {
 public:
  AttachmentStore();
  ~AttachmentStore();
  AttachmentStore(const AttachmentStore&) = delete;
  AttachmentStore& operator=(const AttachmentStore&) = delete;

  /// Keeps what `provide` gives. Raises Error.
  AttachmentBytes Keep(const std::function<void(const PieceSink& sink)>& provide);

 private:
  struct File;
  /// Null until something is kept.
  std::unique_ptr<File> file_;
};

}  // namespace corvessa::desk::mail
