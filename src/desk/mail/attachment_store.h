#pragma once

#include <functional>

#include "desk/mail/attachment_data.h"
#include "desk/mail/gmime_handle.h"

namespace corvessa::desk::mail {

/// Copies of attachments of any number and size in one nameless temporary file, which goes with the
/// last of them.
class AttachmentStore {
 public:
  /// Keeps what `provide` gives. Raises Error.
  AttachmentData Keep(const std::function<void(const PieceSink& sink)>& provide);

 private:
  Handle<GMimeStream> file_;
  gint64 end_ = 0;
};

}  // namespace corvessa::desk::mail
