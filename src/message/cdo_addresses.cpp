#include "message/cdo_addresses.h"

#include "accounts/user_management.h"
#include "base/debug_info.h"
#include "base/guard.h"
#include "base/text.h"
#include "forms/dialogs.h"
#include "platform/host.h"
#include "platform/redemption.h"
#include "settings/edition.h"

namespace corvessa::CDO_Addresses {

bool g_bWarnAboutCDO = false;

namespace {

using Debug_Info::TraceLog;

platform::MAPISessionPtr session;

bool IsExchangeName(std::string_view address) {
  return LCase(Left(address, 3)) == "/o=";
}

std::string SmtpAddress(std::string_view entry_id) {
  const auto utils = platform::Host().redemption.CreateMAPIUtils();
  return utils->GetAddressEntryFromID(entry_id)->Fields(platform::kSmtpAddressTag);
}

/// Said once, not once a recipient: the next log-on that works makes it worth saying again.
void ExplainMissingCDO() {
  g_bWarnAboutCDO = false;
  ShowGeneric(
      "The Microsoft Collaboration Data Objects are required\r\n"
      "to take advantage of the full functionality of " +
          Customization::AppLongName() +
          ".\r\n"
          "\r\n"
          "1) Select 'Settings' -> 'Control Panel' in your Start Menu\r\n"
          "2) Double click on 'Add/Remove Programs'\r\n"
          "3) Select 'Microsoft Office'\r\n"
          "4) Click 'Change'\r\n"
          "5) Click 'Add or Remove Features'\r\n"
          "6) Expand the 'Microsoft Outlook for Windows' option\r\n"
          "7) Pull down the tab by 'Collaboration Data Objects' to select 'Run from my "
          "Computer'\r\n"
          "8) Click 'Update Now'\r\n",
      frmGeneric::kOkOnly);
}

platform::MAPISessionPtr LogOn() {
  TraceLog("GetMAPISession (2) - No session yet");
  auto created = platform::Host().cdo.CreateSession();
  TraceLog("GetMAPISession (2) - Session created");
  created->Logon("", "", false, false, 0);
  TraceLog("GetMAPISession (2) - Logged in");
  g_bWarnAboutCDO = true;
  return created;
}

/// What is compared of an entry of an address list.
struct Entry {
  std::string name;
  std::string address;
};

/// Whether the entry is the one looked for. Names are compared exactly, addresses without regard to
/// case.
bool Matches(const Entry& entry, std::string_view target, std::string_view lower_target) {
  return entry.name == target || LCase(entry.address) == lower_target;
}

/// The Internet address of a matching entry; empty when it has none.
std::string AddressOfMatch(platform::AddressEntry& listed, const Entry& entry,
                           std::string_view target) {
  TraceLog([&] {
    return std::string(target) + " match " + entry.name + " OR " + entry.address + " to ";
  });
  std::string found = entry.address;
  if (IsExchangeName(found)) {
    TraceLog([&] { return "  look up " + found; });
    found = SmtpAddress(listed.ID());
  }
  return found.find('@') == std::string::npos ? std::string{} : found;
}

/// The address when this entry matches and has one; empty otherwise.
std::string TryEntry(platform::AddressEntries& entries, std::int32_t index, std::string_view target,
                     std::string_view lower_target) {
  const auto listed = entries.Item(index);
  Entry entry;
  entry.name = listed->Name();
  TraceLog([&] { return "oAddressEntry.Name=" + entry.name; });
  entry.address = listed->Address();
  TraceLog([&] { return "oAddressEntry.Address=" + entry.address; });
  if (!Matches(entry, target, lower_target)) return {};
  return AddressOfMatch(*listed, entry, target);
}

/// The first address that an entry of the list gives; one that cannot be read is passed over.
std::string SearchList(platform::AddressList& list, std::string_view target,
                       std::string_view lower_target) {
  const auto entries = list.AddressEntries();
  const std::int32_t count = entries->Count();
  std::string found;
  for (std::int32_t i = 1; i <= count && found.empty(); ++i) {
    const Error error = Attempt([&] { found = TryEntry(*entries, i, target, lower_target); });
    if (error.number == 0) continue;
    TraceLog([&] { return "Ignored error " + Decimal(error.number) + " " + error.description; });
  }
  return found;
}

std::string SearchLists(std::string_view target) {
  const auto lists = platform::Host().redemption.CreateAddressLists();
  const std::int32_t count = lists->Count();
  TraceLog([&] { return Decimal(count) + " AddressLists"; });
  const std::string lower_target = LCase(target);
  std::string found;
  for (std::int32_t i = 1; i <= count && found.empty(); ++i) {
    found = SearchList(*lists->Item(i), target, lower_target);
  }
  return found;
}

/// What the recipient itself says of its address, or what the address books say of that.
std::string ListedAddress(platform::Recipient& recipient, std::string address) {
  if (address.empty()) {
    const auto entry = recipient.AddressEntry();
    if (entry) address = entry->Address();
    TraceLog([&] { return "GetRealAddress: Address entry is " + address; });
  }
  address = GetRealAddressString(address);
  TraceLog([&] { return "GetRealAddress: Real address is " + address; });
  return address;
}

/// The Internet address behind an Exchange name.
std::string DirectoryAddress(platform::Recipient& recipient) {
  std::string address = SmtpAddress(recipient.EntryID());
  TraceLog([&] { return "GetRealAddress:  Lookup got " + address; });
  address = LCase(Trim(address));
  TraceLog([&] { return "GetRealAddress: Finally got " + address; });
  return address;
}

std::string Resolve(platform::Recipient& recipient) {
  TraceLog("GetRealAddress: Start");
  std::string address = LCase(recipient.Address());
  TraceLog([&] { return "GetRealAddress: Address is " + address; });
  if (UserManagement::IsValidEmailAddress(address)) {
    TraceLog([&] { return "GetRealAddress: Got a valid address immediately: " + address; });
    return address;
  }
  address = ListedAddress(recipient, std::move(address));
  if (IsExchangeName(address)) {
    if (!GetMAPISession()) {
      TraceLog("GetRealAddress: Exit failed to get MAPI");
      return {};
    }
    address = DirectoryAddress(recipient);
  }
  address = LCase(Trim(address));
  if (!UserManagement::IsValidEmailAddress(address)) address.clear();
  TraceLog([&] { return "GetRealAddress: returning " + address; });
  return address;
}

}  // namespace

platform::MAPISessionPtr GetMAPISession() {
  return Guarded(":GetMAPISession - ", platform::MAPISessionPtr{}, [&] {
    TraceLog("GetMAPISession (2) - Start");
    const Error error = Attempt([&] {
      if (!session) session = LogOn();
    });
    if (error.number == 0) {
      TraceLog("GetMAPISession - Done retrieving session");
      return session;
    }
    TraceLog([&] {
      return "GetMAPISession - Error encountered: " + Decimal(error.number) + " " +
             error.description;
    });
    if (error.number == kCannotCreateComponent && g_bWarnAboutCDO) ExplainMissingCDO();
    return platform::MAPISessionPtr{};
  });
}

std::string GetRealAddress(platform::Recipient& recipient) {
  return Guarded(":GetRealAddress - ", std::string{}, [&] { return Resolve(recipient); });
}

std::string GetRealAddressString(std::string_view text) {
  return Guarded(":GetRealAddressString - ", std::string(text), [&] {
    TraceLog([&] { return "GetRealAddressString: start, looking for " + std::string(text); });
    std::string result(text);
    if (std::string found; SearchAddressBooks(text, found)) {
      TraceLog([&] { return "GetRealAddressString: Got from SearchAddressBooks " + found; });
      result = LCase(Trim(found));
    }
    TraceLog([&] { return "GetRealAddress: Exit with " + result; });
    return result;
  });
}

bool SearchAddressBooks(std::string_view target, std::string& found) {
  return Guarded(":SearchAddressBooks - ", false, [&] {
    TraceLog("START SearchAddressBooks");
    if (target.empty()) {
      TraceLog("EXIT no address");
      return false;
    }
    if (!GetMAPISession()) {
      TraceLog("No MAPI session");
      return false;
    }
    const std::string address = SearchLists(target);
    if (address.empty()) {
      TraceLog("EXIT not found");
      return false;
    }
    TraceLog([&] { return "EXIT with " + address; });
    found = address;
    return true;
  });
}

void DropSession() {
  session.reset();
}

}  // namespace corvessa::CDO_Addresses
