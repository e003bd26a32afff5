#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/observer.h"

namespace corvessa::desk {

/// What the add-in told of one send.
struct SendFacts {
  /// Empty for a message that was not encrypted, or signed.
  std::vector<std::string> encrypted_for;
  std::string signed_by;
  std::vector<platform::ConsentFacts> consents;

  bool HasConsent(platform::Consent to) const {
    return std::ranges::any_of(
        consents, [to](const auto& consent) { return consent.to == to && consent.given; });
  }
};

struct ItemFacts {
  platform::MessageFacts message;
  /// Of its last send. Clear it before the message is sent again: an add-in that was switched off
  /// meanwhile tells nothing.
  SendFacts send;
  /// In the order in which they were saved; gathers until it is cleared.
  std::vector<platform::SavedAttachment> saved;
};

/// Keeps what the add-in tells, item by item.
class FactStore final : public platform::Observer {
 public:
  /// What was told of an item; nothing but defaults for one that was never told of.
  ItemFacts& Of(const platform::MailItemPtr& item) { return facts_[item]; }

  void MessageChanged(const platform::MailItemPtr& item,
                      const platform::MessageFacts& facts) override {
    Of(item).message = facts;
  }
  void AttachmentSaved(const platform::MailItemPtr& item,
                       const platform::SavedAttachment& saved) override {
    Of(item).saved.push_back(saved);
  }
  void ConsentAsked(const platform::MailItemPtr& item,
                    const platform::ConsentFacts& consent) override {
    Of(item).send.consents.push_back(consent);
  }
  void Signed(const platform::MailItemPtr& item, const std::string& signer) override {
    Of(item).send.signed_by = signer;
  }
  void Encrypted(const platform::MailItemPtr& item,
                 const std::vector<std::string>& recipients) override {
    Of(item).send.encrypted_for = recipients;
  }

 private:
  /// By owner, so that a new item at an old one's address is another item.
  std::map<std::weak_ptr<platform::MailItem>, ItemFacts, std::owner_less<>> facts_;
};

}  // namespace corvessa::desk
