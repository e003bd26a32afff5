#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/observer.h"

/// What a host asks before it lets a message go. An error early in the add-in's own handling lets
/// Outlook send the item as it is, so a host decides by what the add-in told of the send and by
/// what the item holds.
namespace corvessa {

/// What the add-in told of one send.
struct SendFacts {
  /// The add-in is switched off, or the item is not a mail.
  bool left_alone = false;
  /// Empty for a message that was not encrypted, or signed.
  std::vector<std::string> encrypted_for;
  std::string signed_by;
  std::vector<platform::ConsentFacts> consents;

  bool HasConsent(platform::Consent to) const;
};

/// Keeps what the add-in tells of sends, item by item.
class SendRecorder : public platform::Observer {
 public:
  /// What was told of an item's last send. Clear it before the item is sent again: an add-in that
  /// fails tells nothing.
  SendFacts& Of(const platform::MailItemPtr& item) { return facts_[item]; }
  /// The facts of an item that needs them no longer.
  SendFacts Take(const platform::MailItemPtr& item);

  void SendLeftAlone(const platform::MailItemPtr& item) override;
  void ConsentAsked(const platform::MailItemPtr& item,
                    const platform::ConsentFacts& consent) override;
  void Signed(const platform::MailItemPtr& item, const std::string& signer) override;
  void Encrypted(const platform::MailItemPtr& item,
                 const std::vector<std::string>& recipients) override;

 private:
  /// By owner, so that a new item at an old one's address is another item.
  std::map<std::weak_ptr<platform::MailItem>, SendFacts, std::owner_less<>> facts_;
};

/// Whether its sender wants a message that is not encrypted to leave: chosen among its options,
/// unless those do not count, or agreed to after encrypting failed.
bool MayLeaveInClear(const SendFacts& facts, bool options_count = true);

/// Whether a text is in the form that the facts call for: nothing but armour if it was encrypted, a
/// signed text if it was signed.
bool HoldsWhatWasDecided(const SendFacts& facts, std::string_view body, std::string_view html);

}  // namespace corvessa
