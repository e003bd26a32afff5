#include "addin/send_check.h"

#include <algorithm>

#include "message/message_operations.h"

namespace corvessa {

bool SendFacts::HasConsent(platform::Consent to) const {
  return std::ranges::any_of(
      consents, [to](const auto& consent) { return consent.to == to && consent.given; });
}

SendFacts SendRecorder::Take(const platform::MailItemPtr& item) {
  auto node = facts_.extract(item);
  return node.empty() ? SendFacts() : std::move(node.mapped());
}

void SendRecorder::SendLeftAlone(const platform::MailItemPtr& item) {
  Of(item).left_alone = true;
}

void SendRecorder::ConsentAsked(const platform::MailItemPtr& item,
                                const platform::ConsentFacts& consent) {
  Of(item).consents.push_back(consent);
}

void SendRecorder::Signed(const platform::MailItemPtr& item, const std::string& signer) {
  Of(item).signed_by = signer;
}

void SendRecorder::Encrypted(const platform::MailItemPtr& item,
                             const std::vector<std::string>& recipients) {
  Of(item).encrypted_for = recipients;
}

bool MayLeaveInClear(const SendFacts& facts, bool options_count) {
  return facts.HasConsent(platform::Consent::kSendUnencrypted) ||
         (options_count && facts.HasConsent(platform::Consent::kLeaveUnencrypted));
}

bool HoldsWhatWasDecided(const SendFacts& facts, std::string_view body, std::string_view html) {
  if (!facts.encrypted_for.empty()) {
    return html.empty() && IsPGPMessage(body) && !HoldsMoreThanArmour(body);
  }
  return facts.signed_by.empty() || IsPGPSignedMessage(body);
}

}  // namespace corvessa
