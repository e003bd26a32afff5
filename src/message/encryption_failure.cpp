#include "message/encryption_failure.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/guard.h"
#include "base/text.h"
#include "branding/message_box.h"
#include "crypto/crypto_operations.h"
#include "crypto/engine_answers.h"
#include "forms/dialogs.h"
#include "message/cdo_addresses.h"
#include "message/message_operations.h"
#include "platform/host.h"
#include "platform/observer.h"
#include "platform/redemption.h"
#include "settings/edition.h"

namespace corvessa {
namespace {

/// The text that the form lists for a recipient; empty for one without a problem.
using Complaint = std::function<std::string(platform::Recipient&)>;

std::string NameOfUnresolved(platform::Recipient& recipient) {
  return CDO_Addresses::GetRealAddress(recipient).empty() ? recipient.Name() : std::string{};
}

std::string AddressWithoutKey(platform::Recipient& recipient) {
  const std::string address = CDO_Addresses::GetRealAddress(recipient);
  if (address.empty()) return recipient.Name();
  return Crypto()->HasKeypair(address) == kHasKeyPair ? std::string{} : address;
}

std::vector<std::string> FindRecipients(const SafeItem& item, const Complaint& complaint) {
  const auto recipients = GetSafeRecipients(item);
  if (!recipients) Raise(kObjectNotSet);
  std::vector<std::string> found;
  const std::int32_t count = recipients->Count();
  for (std::int32_t i = 1; i <= count; ++i) {
    std::string row = complaint(*recipients->Item(i));
    if (!row.empty()) found.push_back(std::move(row));
  }
  return found;
}

void ReportAnswer(const SafeItem& item, std::int32_t answer, std::vector<std::string> recipients) {
  platform::HostObserver().ConsentAsked(item.Item(), {platform::Consent::kSendUnencrypted,
                                                      answer == kResultYes, std::move(recipients)});
}

std::int32_t AskAboutRecipients(const SafeItem& item, std::string_view heading,
                                const Complaint& complaint) {
  const auto form = std::make_shared<frmNoKeysFound>();
  const UnloadAtEnd unload(*form);
  const std::vector<std::string> recipients = FindRecipients(item, complaint);
  for (const std::string& row : recipients) form->lstEmailAddr.AddRow(ForDisplay(row));
  if (!heading.empty()) form->SetHeading(heading);
  const std::int32_t answer = form->SendUnencrypted();
  ReportAnswer(item, answer, recipients);
  return answer;
}

std::int32_t AskToSendInClear(const SafeItem& item, std::string_view text) {
  // Cancel is the default, so that a key pressed too early sends nothing in clear.
  std::int32_t answer = ShowGeneric(text, frmGeneric::kOkCancel, DefaultButton::kCancel);
  if (answer == kResultOk) answer = kResultYes;
  if (answer == kResultCancel) answer = kResultNo;
  ReportAnswer(item, answer, {});
  return answer;
}

std::int32_t Report(std::int32_t code, const SafeItem& item) {
  switch (code) {
    case kUnresolvedRecipients:
      return AskAboutRecipients(item,
                                Customization::AppLongName() +
                                    " was unable to resolve the following recipients to valid "
                                    "email addresses:",
                                NameOfUnresolved);
    case platform::engine_status::kNoKey:
      return AskAboutRecipients(item, {}, AddressWithoutKey);
    case platform::engine_status::kIoTrouble:
      return AskToSendInClear(item,
                              "An I/O error occurred while connecting to the key server.\r\n\r\n"
                              "Continue sending this email without encryption?");
    case 0:
    case kEncryptionCancelled:
      return kResultOk;
    default:
      return AskToSendInClear(item, "An unexpected error occurred during encryption:\r\n\r\n" +
                                        std::string(EngineErrorText(code)) + " (" + Str(code) +
                                        ")\r\n\r\nWould you like to send the message unencrypted?");
  }
}

}  // namespace

std::int32_t ReportEncryptionFailure(std::int32_t code, const SafeItem& item) {
  const auto answer = Guarded(":ReportEncryptionFailure - ", std::optional<std::int32_t>(),
                              [&] { return std::optional(Report(code, item)); });
  if (!answer) TellNotSent("It could not be encrypted.");
  return answer.value_or(kResultNo);
}

void TellNotSent(std::string_view reason) {
  TellError("The message was not sent.\r\n\r\n" + ForDisplay(reason));
}

}  // namespace corvessa
