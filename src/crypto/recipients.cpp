#include <algorithm>

#include "accounts/nimbra_account.h"
#include "accounts/user_management.h"
#include "base/address.h"
#include "base/debug_info.h"
#include "base/guard.h"
#include "base/text.h"
#include "branding/message_box.h"
#include "crypto/crypto_operations.h"
#include "crypto/engine_answers.h"
#include "message/cdo_addresses.h"
#include "message/encryption_failure.h"
#include "message/message_operations.h"
#include "platform/host.h"
#include "platform/observer.h"
#include "platform/redemption.h"

namespace corvessa {
namespace {

using Debug_Info::TraceLog;

void TraceRecipients(const std::shared_ptr<platform::Recipients>& recipients) {
  TraceLog([&] {
    return "ConcatenateRecpAddrs - Recipients: " +
           (recipients ? recipients->TypeName() : std::string("Nothing"));
  });
  TraceLog(
      [&] { return std::string("ConcatenateRecpAddrs - ") + (recipients ? "False" : "True"); });
}

/// Appends the recipient's address; false if it has none.
bool AppendRecipient(platform::Recipient& recipient, std::int32_t index,
                     std::vector<std::string>& addresses) {
  TraceLog([&] { return "ConcatenateRecpAddrs - Item: " + Decimal(index); });
  TraceLog([&] { return "ConcatenateRecpAddrs - Item Type: " + recipient.TypeName(); });
  std::string address = CDO_Addresses::GetRealAddress(recipient);
  TraceLog([&] { return "ConcatenateRecpAddrs - Item: " + address; });
  if (address.empty()) {
    TraceLog([&] { return "ConcatenateRecpAddrs - failed on " + recipient.Name(); });
    return false;
  }
  addresses.push_back(std::move(address));
  return true;
}

bool Contains(const std::vector<std::string>& texts, std::string_view text) {
  return std::ranges::find(texts, text) != texts.end();
}

/// The domains of the addresses, each once, in order.
std::vector<std::string> RecipientDomains(const std::vector<std::string>& addresses) {
  std::vector<std::string> domains;
  for (const std::string& address : addresses) {
    std::string domain(DomainOf(address));
    if (!Contains(domains, domain)) domains.push_back(std::move(domain));
  }
  return domains;
}

std::vector<std::string> OwnAddresses() {
  std::vector<std::string> addresses;
  for (const NimbraAccountPtr& account : g_colAccounts) addresses.push_back(account->m_sAlias);
  return addresses;
}

/// Whether the list names the domain or an address in it.
bool Covers(const std::vector<std::string>& covered, std::string_view domain) {
  return std::ranges::any_of(covered,
                             [&](const std::string& entry) { return DomainOf(entry) == domain; });
}

bool AskAboutDomain(std::string_view domain, std::string_view extra_addresses) {
  return Confirm("Encrypted emails sent to '" + std::string(domain) +
                 "' email addresses will also be encrypted for:\r\n\r\n" +
                 std::string(extra_addresses));
}

}  // namespace

std::int32_t CryptoOperations::ConcatenateRecpAddrs(const SafeItem& item,
                                                    std::vector<std::string>& addresses) {
  return Guarded("CryptoOperations::ConcatenateRecpAddrs - ", kGivenUp, [&]() -> std::int32_t {
    const auto recipients = GetSafeRecipients(item);
    TraceRecipients(recipients);
    if (!recipients) Raise(kObjectNotSet);
    const std::int32_t count = recipients->Count();
    TraceLog([&] { return "ConcatenateRecpAddrs - Count: " + Decimal(count); });
    std::vector<std::string> found;
    for (std::int32_t i = 1; i <= count; ++i) {
      if (!AppendRecipient(*recipients->Item(i), i, found)) {
        TraceLog("ConcatenateRecpAddrs - returning -1");
        return kGivenUp;
      }
    }
    TraceLog("ConcatenateRecpAddrs - returning 0");
    TraceLog([&] { return "ConcatenateRecpAddrs - sResult=" + Join(found, ";"); });
    addresses = std::move(found);
    return 0;
  });
}

void CryptoOperations::AddKeyAccountsToRecp(platform::IEngineStringVector& recipients) {
  NimbraAccounts candidates = g_colAccounts;
  if (auto signer = UserManagement::GetSigningAccount()) {
    candidates.insert(candidates.begin(), signer);
  }
  for (const NimbraAccountPtr& account : candidates) {
    if (HasKeypair(account->m_sAlias) == kHasKeyPair) {
      return AddToVector(recipients, account->m_sAlias);
    }
  }
}

std::int32_t CryptoOperations::AddAdditionalDecryptionKeys(
    const SafeItem& item, const std::vector<std::string>& addresses,
    platform::IEngineStringVector& recipients) {
  std::vector<std::string> covered;
  for (const std::string& own : OwnAddresses()) {
    const auto on_record = platform::Host().engine.CreateStringVector();
    const std::int32_t status = Engine()->GetAddressADKs(own, *on_record);
    if (status != 0) return status;
    for (std::string& address : TextsOf(*on_record)) covered.push_back(std::move(address));
  }
  for (const std::string& domain : RecipientDomains(addresses)) {
    const auto extra = platform::Host().engine.CreateStringVector();
    const std::int32_t status = Engine()->GetRecipientADKs(domain, *extra);
    if (status != 0) return status;
    if (extra->Size() == 0) continue;
    if (!Covers(covered, domain)) {
      const bool agreed = AskAboutDomain(domain, VectorToString(*extra));
      platform::HostObserver().ConsentAsked(
          item.Item(), {platform::Consent::kAdditionalKeys, agreed, TextsOf(*extra)});
      if (!agreed) return kEncryptionCancelled;
    }
    for (std::int32_t i = 0; i < extra->Size(); ++i) {
      AddToVector(recipients, TextAt(*extra, i));
    }
  }
  return 0;
}

}  // namespace corvessa
