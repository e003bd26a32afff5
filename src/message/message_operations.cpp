#include "message/message_operations.h"

#include <cstdint>
#include <unordered_set>

#include "base/debug_info.h"
#include "base/guard.h"
#include "base/text.h"
#include "settings/edition.h"

namespace corvessa {

std::string GetSenderName(const SafeItem& item) {
  return Guarded(":GetSenderName - ", std::string(), [&] { return item.Safe().SenderName(); });
}

bool HasBlindCopies(const SafeItem& item) {
  item.Safe().Save();
  return !item.Safe().BCC().empty();
}

platform::RecipientsPtr GetSafeRecipients(const SafeItem& item) {
  return Guarded(":GetSafeRecipients - ", platform::RecipientsPtr(), [&] {
    item.Safe().Save();
    return item.Safe().Recipients();
  });
}

bool HasDuplicateFilenames(const platform::MailItemPtr& item) {
  return Guarded(":HasDuplicateFilenames - ", false, [&] {
    const auto attachments = item->Attachments();
    const std::int32_t count = attachments->Count();
    std::unordered_set<std::string> names;
    for (std::int32_t i = 1; i <= count; ++i) {
      if (!names.insert(LCase(attachments->Item(i)->FileName())).second) return true;
    }
    return false;
  });
}

bool IsOptionsBarPresent(const platform::MailItemPtr& item) {
  Debug_Info::TraceLog("Checking for encryption and signing options bar");
  bool present = false;
  const Error error = Attempt([&] { present = FindBar(*item, g_sOptionsCaption) != nullptr; });
  Debug_Info::TraceLog(error.number != 0 ? "Does not exist (2)"
                       : present         ? "Exists"
                                         : "Does not exist (1)");
  return present;
}

}  // namespace corvessa
