#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "desk/outlook/item.h"
#include "platform/observer.h"

namespace corvessa::desk {

class DeskHost;

struct AttachmentReport {
  std::string name;
  std::uint64_t size = 0;
  /// Missing when the add-in did not examine it.
  std::optional<platform::Protection> protection;
  /// Empty when it was not saved.
  std::string saved_as;
};

/// What the add-in told of an open message, together with its attachments as they are now.
struct MessageReport {
  /// Missing when the add-in did not look at it: it is switched off, or the message is left to a
  /// button.
  std::optional<platform::Protection> protection;
  bool left_to_button = false;
  bool attachments_left_to_button = false;
  /// More text than its protected part came with it, and only that part is shown.
  bool shows_part = false;
  /// All that the add-in told; meaningful with `protection`.
  platform::MessageFacts facts;
  std::vector<AttachmentReport> attachments;

  /// Something could not be decrypted or its signature is not good.
  bool Failed() const;
};

MessageReport ReadMessage(DeskHost& host, const ItemPtr& item);

/// The text as it came.
std::string OriginalText(const Item& item);

/// "Message is encrypted", "Message is digitally signed by …"; none for a message without
/// protection to tell of.
std::vector<std::string> StatusLines(const MessageReport& report);

/// The same of an attachment: "is encrypted, is not digitally signed".
std::string StatusText(const platform::Protection& protection);

}  // namespace corvessa::desk
