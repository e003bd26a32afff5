#include "accounts/registry_handlers.h"

#include <gtest/gtest.h>
#include <set>

#include "accounts/nimbra_account.h"
#include "accounts/settings.h"
#include "accounts/user_management.h"
#include "addin/debug_info.h"
#include "platform/registry.h"
#include "support/addin_fixture.h"

namespace corvessa {
namespace {

using namespace RegistryHandlers;
using Lines = std::vector<std::string>;

constexpr std::string_view kPlugin =
    "Software\\Nimbra Communications\\Corvessa Professional\\Plugin";

class Settings : public testing::AddInFixture {
 protected:
  static Lines Addresses() {
    Lines addresses;
    for (const NimbraAccountPtr& account : g_colAccounts) addresses.push_back(account->m_sAlias);
    return addresses;
  }
};

TEST_F(Settings, SurviveAWriteAndARead) {
  ReadUserAccountInfo();
  g_bDisableOutgoingSigning = true;
  g_bLogDebuggingInfo = true;
  g_lPassphraseMemory = -1;
  UserManagement::AddNimbraAccountUser("ann@example.org");
  UserManagement::AddNimbraAccountUser("Ann@Work.Example");
  UserManagement::SetAsSignerAccount("ann@work.example");
  EXPECT_EQ(WriteUserAccountInfo(), 0);
  EXPECT_EQ(Preference("DisableOutgoingSigning"), -1);
  EXPECT_EQ(Preference("PassphraseMemory"), -1);
  EXPECT_EQ(StoredAccounts(), (Lines{"ann@example.org", "ann@work.example (signs)"}));

  g_bDisableOutgoingSigning = g_bLogDebuggingInfo = false;
  g_lPassphraseMemory = 7;
  g_colAccounts.front()->SetAuthenticated(true);
  EXPECT_EQ(ReadUserAccountInfo(), 0);
  EXPECT_TRUE(g_bDisableOutgoingSigning && g_bLogDebuggingInfo);
  EXPECT_EQ(g_lPassphraseMemory, -1);
  EXPECT_EQ(UserManagement::GetSigningAccount()->m_sAlias, "ann@work.example");
  EXPECT_FALSE(g_colAccounts.front()->GetAuthenticated());

  UserManagement::RemoveNimbraAccountUser("ann@example.org");
  WriteUserAccountInfo();
  EXPECT_EQ(StoredAccounts(), Lines{"ann@work.example (signs)"});
}

TEST_F(Settings, FixedValuesOf254BytesAreWholeAndLongerOnesEmpty) {
  SetEdition("URLHelp", std::string(254, 'u'));
  SetEdition("URLTools", std::string(255, 'u'));
  EXPECT_EQ(GetVersionValue("URLHelp"), std::string(254, 'u'));
  EXPECT_EQ(GetVersionValue("URLTools"), "");
  EXPECT_EQ(GetVersionValue("URLAbsent"), "");
}

TEST_F(Settings, EditionThatRefusesTheMailModeDisablesForTheSessionAndSaysSoEachTime) {
  const std::string advice =
      "\r\n\r\nThis can be changed from the Tools menu, \r\n"
      "under Options, Mail Services tab, Reconfigure Mail Support";
  platform::RegistryKeyPtr setup;
  registry.CurrentUser().Create("Software\\Microsoft\\Office\\9.0\\Outlook\\Setup", setup);
  setup->WriteNumber("MailSupport", 1);
  SetEditionSwitch("DisableCorporateOrWorkgroupMode", 1);
  for (int load = 0; load < 2; ++load) {
    ui.ExpectBox(
        "Corvessa Professional for Outlook can only be used with Outlook's \"Internet "
        "Only\" mode." +
        advice);
    ReadUserAccountInfo();
    EXPECT_TRUE(g_bDisableKVPEntirely);
    EXPECT_EQ(Preference("DisableKVPEntirely"), 0);
  }

  setup->WriteNumber("MailSupport", 0);
  SetEditionSwitch("DisableInternetMode", 1);
  ui.ExpectBox("Corvessa Professional for Outlook can only be used in Corporate/Workgroup mode." +
               advice);
  ReadUserAccountInfo();
  EXPECT_TRUE(g_bDisableKVPEntirely);
}

TEST_F(Settings, KeyTreesAreDeletedWhole) {
  platform::RegistryKeyPtr key;
  registry.CurrentUser().Create("Software\\Tree\\a\\b", key);
  registry.CurrentUser().Create("Software\\Tree\\c", key);
  key.reset();
  EXPECT_TRUE(DeleteRegistryKeyTree(registry.CurrentUser(), "Software\\Tree"));
  EXPECT_NE(registry.CurrentUser().Open("Software\\Tree", key), 0);
  EXPECT_EQ(registry.CurrentUser().Open("Software", key), 0);
  EXPECT_FALSE(DeleteRegistryKeyTree(registry.CurrentUser(), "Software\\Tree"));
}

TEST_F(Settings, AccountsThatALoadCouldNotSeeSurviveTheNextSave) {
  StoreAccount("ann@example.org", true);
  StoreAccount("ann@work.example");
  for (std::size_t call = 1;; ++call) {
    faults.FailAt(call);
    ReadUserAccountInfo();
    const std::string failed = faults.Failed();
    faults.FailAt(0);
    WriteUserAccountInfo();
    EXPECT_EQ(StoredAccounts().size(), 2U) << failed;
    if (failed.empty()) break;
  }
}

TEST_F(Settings, RegistryFailuresAreReportedOnlyWhereTheAccountsKeyFails) {
  StoreAccount("ann@example.org", true);
  std::set<std::string> reported;
  for (std::size_t call = 1; call < 60; ++call) {
    faults.FailAt(call);
    if (ReadUserAccountInfo() != 0) reported.insert(faults.Failed());
    if (faults.Failed().empty()) break;
  }
  EXPECT_EQ(reported, (std::set<std::string>{"RegistryKey::Create", "RegistryKey::EnumerateKey"}));
  faults.FailAt(0);
  EXPECT_EQ(ReadUserAccountInfo(), 0);
  EXPECT_EQ(Addresses(), Lines{"ann@example.org"});
}

}  // namespace
}  // namespace corvessa
