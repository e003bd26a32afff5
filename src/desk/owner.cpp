#include "desk/owner.h"

#include <algorithm>

#include "base/text.h"
#include "desk/failure.h"
#include "desk/settings_store.h"

namespace corvessa::desk {
namespace {

Person SignerOrFirst(const std::vector<AccountEntry>& accounts) {
  if (accounts.empty()) return {};
  const auto signer =
      std::ranges::find_if(accounts, [](const AccountEntry& entry) { return entry.signs; });
  return {"", signer == accounts.end() ? accounts.front().address : signer->address};
}

}  // namespace

Person OwnerFor(const mail::Mail& received, const SettingsStore& settings) {
  const auto accounts = settings.Accounts();
  for (const auto* list : {&received.to, &received.cc, &received.bcc}) {
    for (const mail::Mailbox& mailbox : *list) {
      const std::string address = LCase(mailbox.address);
      const bool is_own = std::ranges::any_of(
          accounts, [&](const auto& entry) { return entry.address == address; });
      if (is_own) return {mailbox.name, mailbox.address};
    }
  }
  return SignerOrFirst(accounts);
}

Person SenderOf(const mail::Mail& draft, const SettingsStore& settings) {
  if (!draft.from.address.empty()) return {draft.from.name, draft.from.address};
  const Person owner = SignerOrFirst(settings.Accounts());
  if (owner.address.empty()) {
    Fail(Outcome::kWrongUse, "the draft has no From line and there is no secured address yet");
  }
  return {draft.from.name, owner.address};
}

}  // namespace corvessa::desk
