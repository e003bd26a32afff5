#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"
#include "platform/observer.h"

namespace corvessa::testing {

/// Writes down what the add-in tells, a line each: "read 0 0 bob@example.com; a.txt 1 2",
/// "encrypted for bob@example.org, ann@example.org", "cancelled".
class RecordingObserver final : public platform::Observer {
 public:
  /// What was told since the last call.
  std::vector<std::string> Take() { return std::exchange(lines_, {}); }

  void MessageChanged(const platform::MailItemPtr& /*item*/,
                      const platform::MessageFacts& facts) override {
    using State = platform::MessageFacts::State;
    if (facts.state != State::kRead) {
      lines_.emplace_back(facts.state == State::kLeftAlone ? "left alone" : "left to button");
      return;
    }
    std::string line = "read " + TextOf(facts.protection);
    for (const auto& attachment : facts.attachments) line += "; " + TextOf(attachment);
    if (facts.attachments_left_to_button) line += "; attachments left to button";
    if (facts.shows_part) line += "; shows part";
    lines_.push_back(std::move(line));
  }
  void AttachmentSaved(const platform::MailItemPtr& /*item*/,
                       const platform::SavedAttachment& saved) override {
    lines_.push_back(Decimal(saved.index) + " " + TextOf(saved.attachment) + ": " +
                     (saved.path.empty() ? "not saved" : saved.path) +
                     (saved.failure.empty() ? "" : ", " + saved.failure));
  }
  void ConsentAsked(const platform::MailItemPtr& /*item*/,
                    const platform::ConsentFacts& consent) override {
    static constexpr std::string_view kNames[] = {"leave unencrypted", "leave unsigned",
                                                  "send unencrypted",  "send unsigned",
                                                  "same file names",   "additional keys"};
    std::string line(kNames[static_cast<std::size_t>(consent.to)]);
    line += consent.given ? ": yes" : ": no";
    for (const std::string& address : consent.addresses) line += " " + address;
    lines_.push_back(std::move(line));
  }
  void Signed(const platform::MailItemPtr& /*item*/, const std::string& signer) override {
    lines_.push_back("signed by " + signer);
  }
  void Encrypted(const platform::MailItemPtr& /*item*/,
                 const std::vector<std::string>& recipients) override {
    lines_.push_back("encrypted for " + Join(recipients, " "));
  }
  void SendEnded(const platform::MailItemPtr& /*item*/, bool cancelled) override {
    lines_.emplace_back(cancelled ? "cancelled" : "leaves");
  }

 private:
  static std::string TextOf(const platform::Protection& protection) {
    std::string text = Decimal(protection.decrypt_status) + " " + Decimal(protection.sign_status);
    return protection.signers.empty() ? text : text + " " + Join(protection.signers, ",");
  }
  static std::string TextOf(const platform::AttachmentFacts& attachment) {
    return attachment.name + " " +
           (attachment.protection ? TextOf(*attachment.protection) : "not examined");
  }

  std::vector<std::string> lines_;
};

}  // namespace corvessa::testing
