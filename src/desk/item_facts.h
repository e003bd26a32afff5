#pragma once

#include <map>
#include <memory>
#include <vector>

#include "addin/send_check.h"

namespace corvessa::desk {

/// What the add-in told of a message; SendRecorder has what it told of sends.
struct ItemFacts {
  platform::MessageFacts message;
  /// In the order in which they were saved; gathers until it is cleared.
  std::vector<platform::SavedAttachment> saved;
};

/// Keeps what the add-in tells, item by item.
class FactStore final : public SendRecorder {
 public:
  /// What was told of an item; nothing but defaults for one that was never told of.
  ItemFacts& MessageOf(const platform::MailItemPtr& item) { return facts_[item]; }

  void MessageChanged(const platform::MailItemPtr& item,
                      const platform::MessageFacts& facts) override {
    MessageOf(item).message = facts;
  }
  void AttachmentSaved(const platform::MailItemPtr& item,
                       const platform::SavedAttachment& saved) override {
    MessageOf(item).saved.push_back(saved);
  }

 private:
  /// By owner, so that a new item at an old one's address is another item.
  std::map<std::weak_ptr<platform::MailItem>, ItemFacts, std::owner_less<>> facts_;
};

}  // namespace corvessa::desk
