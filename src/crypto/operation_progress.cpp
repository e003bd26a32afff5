#include "crypto/operation_progress.h"

#include <cstddef>
#include <cstdint>

#include "base/checked.h"
#include "forms/frm_progress.h"

namespace corvessa {

bool ForEachAttachment(const AttachmentNodes& attachments, std::string_view step,
                       const std::function<void(const AttachmentNodePtr&)>& use) {
  const std::size_t count = attachments.size();
  for (std::size_t i = 0; i < count; ++i) {
    ShowCountedStep(step, CheckedNarrow<std::int16_t>(i + 1), count);
    if (i >= attachments.size()) return false;
    // Held, because the list may let go of it while it is worked on.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const AttachmentNodePtr node = attachments[i];
    use(node);
  }
  return true;
}

}  // namespace corvessa
