#include "settings/settings.h"

#include <set>

#include "accounts/frm_login.h"
#include "accounts/nimbra_account.h"
#include "accounts/registry_handlers.h"
#include "accounts/user_management.h"
#include "base/address.h"
#include "base/debug_info.h"
#include "platform/registry.h"
#include "settings/edition.h"
#include "support/addin_fixture.h"

namespace corvessa {
namespace {

using namespace RegistryHandlers;
using namespace UserManagement;
using Lines = std::vector<std::string>;

using Settings = testing::AddInFixture;

TEST_F(Settings, SurviveAWriteAndARead) {
  ReadUserAccountInfo();
  g_bDisableOutgoingSigning = true;
  g_bLogDebuggingInfo = true;
  g_lPassphraseMemory = -1;
  AddNimbraAccountUser("ann@example.org");
  AddNimbraAccountUser("Ann@Work.Example");
  SetAsSignerAccount("ann@work.example");
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
  EXPECT_EQ(GetSigningAccount()->m_sAlias, "ann@work.example");
  EXPECT_FALSE(g_colAccounts.front()->GetAuthenticated());

  RemoveNimbraAccountUser("ann@example.org");
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

  setup->WriteNumber("MailSupport", 2);
  SetEditionSwitch("DisableInternetMode", 1);
  ui.ExpectBox("Corvessa Professional for Outlook can only be used in Corporate/Workgroup mode." +
               advice);
  ReadUserAccountInfo();
  EXPECT_TRUE(g_bDisableKVPEntirely);
}

TEST_F(Settings, NoRegistryFailureAtLoadCostsAnAccountAndThoseOfTheAccountsKeyAreReported) {
  StoreAccount("ann@example.org", true);
  StoreAccount("ann@work.example");
  std::set<std::string> reported;
  for (std::size_t call = 1;; ++call) {
    faults.FailAt(call);
    const auto status = ReadUserAccountInfo();
    const std::string failed = faults.Failed();
    faults.FailAt(0);
    if (status != 0) reported.insert(failed);
    WriteUserAccountInfo();
    EXPECT_EQ(StoredAccounts().size(), 2U) << failed;
    if (failed.empty()) break;
  }
  EXPECT_EQ(reported, (std::set<std::string>{"RegistryKey::Open", "RegistryKey::EnumerateKey"}));
}

TEST_F(Settings, AreReadWithoutTheRightToCreateKeysWhichTheSaveReports) {
  EXPECT_EQ(ReadUserAccountInfo(), 0);
  const std::string plugin = "Software\\Nimbra Communications\\Corvessa Professional\\Plugin\\";
  for (const char* made_by_the_load : {"Global", "Accounts"}) {
    platform::RegistryKeyPtr key;
    EXPECT_EQ(registry.CurrentUser().Open(plugin + made_by_the_load, key), 0) << made_by_the_load;
  }
  StoreAccount("ann@example.org");
  SetPreference("PassphraseMemory", 7);
  faults.on_call = [](std::string_view call) {
    if (call == "RegistryKey::Create") Raise(kPermissionDenied);
  };
  EXPECT_EQ(ReadUserAccountInfo(), 0);
  EXPECT_EQ(g_lPassphraseMemory, 7);
  EXPECT_EQ(g_colAccounts.size(), 1U);
  EXPECT_EQ(GetVersionValue("AppShortName"), "Corvessa");
  EXPECT_EQ(WriteUserAccountInfo(), 5);
  faults.on_call = nullptr;
}

TEST_F(Settings, OneAccountSignsAndAnUnknownAddressLeavesNone) {
  for (const char* address : {"a@x.org", "b@x.org", "c@x.org"}) StoreAccount(address, true);
  ReadUserAccountInfo();
  EXPECT_EQ(GetSigningAccount()->m_sAlias, "a@x.org") << "the first of those stored";
  SetAsSignerAccount("b@x.org");
  EXPECT_EQ(GetSigningAccount()->m_sAlias, "b@x.org");
  SetAsSignerAccount("B@x.org");
  EXPECT_EQ(GetSigningAccount(), nullptr);

  AllowError(":DoLogin - Object variable or With block variable not set");
  EXPECT_EQ(GetLoginAccount(LoginReason::kFirstRequest, "nobody@x.org", true), nullptr);
  EXPECT_EQ(UnexpectedErrors(), Lines{});
  EXPECT_EQ(ui.Shown(), Lines{}) << "no dialog";
}

TEST_F(Settings, AddressesAreAddedTrimmedAndInLowerCaseAndComparedExactly) {
  const NimbraAccountPtr ann = AddNimbraAccountUser("  Ann@Example.ORG ");
  ASSERT_TRUE(ann);
  EXPECT_EQ(ann->m_sAlias, "ann@example.org");
  EXPECT_FALSE(IsAccountAdded("ANN@example.org"));
  EXPECT_EQ(g_colAccounts.size(), 1U);
  EXPECT_EQ(GetNimbraAccountUser("ann@example.org"), ann);
  EXPECT_FALSE(GetNimbraAccountUser("Ann@example.org"));
  EXPECT_FALSE(GetNimbraAccountUser(" ann@example.org"));
  EXPECT_FALSE(AddNimbraAccount(std::make_shared<NimbraAccount>(*ann)));

  // One stored in capitals by other means is found as it stands and cannot be removed.
  auto capital = std::make_shared<NimbraAccount>();
  capital->m_sAlias = "Bob@example.org";
  EXPECT_TRUE(AddNimbraAccount(capital));
  EXPECT_EQ(GetNimbraAccountUser("Bob@example.org"), capital);
  EXPECT_FALSE(RemoveNimbraAccountUser("Bob@example.org"));
  EXPECT_TRUE(RemoveNimbraAccountUser(" ANN@example.org "));
  EXPECT_FALSE(RemoveNimbraAccountUser("ann@example.org"));
  EXPECT_EQ(g_colAccounts, NimbraAccounts{capital});
}

TEST_F(Settings, OnlyTheDomainOfAnAddressIsChecked) {
  for (const char* valid : {"a@b.c", "Any Thing!@x-1.org", "aa@.b", "@a.bc"}) {
    EXPECT_TRUE(IsValidEmailAddress(valid)) << valid;
  }
  for (const char* invalid : {"a@b.", "", "abcdef", "a@bcd", "a@b@c.d", "a@B.cd", "a@b_c.d",
                              "a@b.c d", "a@b.c\r\n", "a@b.é"}) {
    EXPECT_FALSE(IsValidEmailAddress(invalid)) << invalid;
    EXPECT_FALSE(IsAddress(invalid)) << "can be secured but not sent to: " << invalid;
  }
}

}  // namespace
}  // namespace corvessa
