#include "accounts/nimbra_account.h"
#include "base/debug_info.h"
#include "base/guard.h"
#include "base/text.h"
#include "crypto/crypto_operations.h"
#include "crypto/engine_answers.h"
#include "crypto/operation_progress.h"
#include "message/encryption_failure.h"
#include "message/message_operations.h"
#include "platform/host.h"
#include "platform/observer.h"
#include "settings/settings.h"

namespace corvessa {
namespace {

using Debug_Info::TraceLog;

/// Outlook may have added or changed line ends; nothing else may differ.
std::string WithoutLineEnds(std::string_view text) {
  return Replace(Replace(text, "\r", ""), "\n", "");
}

/// The item is what was to leave: armour, the whole armour and nothing but the armour.
bool HoldsOnly(const platform::MailItemPtr& item, std::string_view armoured) {
  const platform::SharedText body = item->Body();
  return item->HTMLBody()->empty() && IsPGPMessage(*body) &&
         (*body == armoured || WithoutLineEnds(*body) == WithoutLineEnds(armoured));
}

/// The body becomes the armour, and the HTML form of the clear text goes.
void ReplaceBody(const platform::MailItemPtr& item, std::string_view armoured) {
  if (!item->HTMLBody()->empty()) item->SetHTMLBody("");
  item->SetBody(armoured);
}

}  // namespace

std::int32_t CryptoOperations::CheckForKeys(const platform::IEngineStringVector& recipients) {
  std::int32_t status = platform::engine_status::kDone;
  bool is_certain = true;
  for (std::int32_t i = 0; i < recipients.Size(); ++i) {
    const std::string address = TextAt(recipients, i);
    TraceLog([&] { return "EncryptMailItem - Checking for keys \"" + address; });
    const std::int32_t answer = HasKeypair(address);
    if (answer == kNoKeyPair) status = platform::engine_status::kNoKey;
    is_certain = is_certain && answer != kKeyPairUnknown;
  }
  // A key server that does not answer is left to the encryption itself to report.
  if (is_certain || IsKeyStoreWhole()) return status;
  TellNotSent(GetLastError());
  return kEncryptionCancelled;
}

bool CryptoOperations::IsKeyStoreWhole() {
  const auto nobody = platform::Host().engine.CreateStringVector();
  std::string none;
  return Engine()->EncryptText(*nobody, "", none) != platform::engine_status::kKeyStoreTrouble;
}

void CryptoOperations::AddOwnAddress(platform::IEngineStringVector& recipients) {
  const std::int32_t before = recipients.Size();
  AddKeyAccountsToRecp(recipients);
  if (recipients.Size() == before) return;
  TraceLog([&] { return "EncryptMailItem - Encrypting for alias " + TextAt(recipients, before); });
}

std::int32_t CryptoOperations::EncryptMailItem(const SafeItem& item, AttachmentNodes& attachments) {
  std::int32_t status = kLocalFailure;
  StageTrace trace("EncryptMailItem", status);
  return Guarded("EncryptMailItem - Error \"", kLocalFailure, [&]() -> std::int32_t {
    trace.Begin(1);
    trace("Finding message body");
    const platform::SharedText body = item->Body();

    trace.Begin(2);
    trace("Determining recipients");

    trace.Begin(3);
    trace("Adding recipients");
    std::vector<std::string> addresses;
    if (ConcatenateRecpAddrs(item, addresses) != 0) return kUnresolvedRecipients;
    TraceLog([&] { return "EncryptMailItem - Found recipients \"" + Join(addresses, ";"); });

    trace.Begin(4);
    trace("Encrypting");
    const auto recipients = platform::Host().engine.CreateStringVector();
    for (const std::string& address : addresses) {
      const bool final = &address == &addresses.back();
      TraceLog([&] {
        return std::string("EncryptMailItem - Adding ") + (final ? "final \"" : "\"") + address;
      });
      AddToVector(*recipients, address);
    }

    trace.Begin(5);
    status = CheckForKeys(*recipients);
    if (status != 0) return status;

    trace.Begin(6);
    trace("About to encrypt text");
    AddOwnAddress(*recipients);

    trace.Begin(7);
    if (g_bADKEnabled) {
      TraceLog("EncryptMailItem - Begin ADK Code");
      status = AddAdditionalDecryptionKeys(item, addresses, *recipients);
      if (status != 0) return status;
      TraceLog("EncryptMailItem - Finished ADK Code");
    }

    trace.Begin(8);
    std::string armoured;
    status = Engine()->EncryptText(*recipients, *body, armoured);
    trace("Finished encrypting text (?)");
    if (status != 0) {
      trace("Failed");
      return status;
    }

    trace.Begin(9);
    trace("Remove HTML body");
    ReplaceBody(item.Item(), armoured);
    if (!HoldsOnly(item.Item(), armoured)) return kLocalFailure;

    trace.Begin(10);
    trace("Encrypting attachments");
    status = EncryptAllAttachments(item.Item(), attachments, *recipients);
    trace("Finished encrypting attachments");
    if (status == 0) platform::HostObserver().Encrypted(item.Item(), TextsOf(*recipients));
    return status;
  });
}

}  // namespace corvessa
