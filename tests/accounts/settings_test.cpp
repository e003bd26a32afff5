#include "settings/settings.h"

#include <gmock/gmock.h>
#include <set>

#include "accounts/frm_login.h"
#include "accounts/nimbra_account.h"
#include "accounts/product_updates.h"
#include "accounts/registry_handlers.h"
#include "accounts/user_management.h"
#include "base/address.h"
#include "base/debug_info.h"
#include "base/text.h"
#include "platform/registry.h"
#include "settings/edition.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {
namespace {

using namespace RegistryHandlers;
using namespace UserManagement;
using Lines = std::vector<std::string>;
using ::testing::ElementsAre;

using Settings = AddInFixture;

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
  FailCalls("RegistryKey::Create", {kPermissionDenied, ""});
  EXPECT_EQ(ReadUserAccountInfo(), 0);
  EXPECT_EQ(g_lPassphraseMemory, 7);
  EXPECT_EQ(g_colAccounts.size(), 1U);
  EXPECT_EQ(GetVersionValue("AppShortName"), "Corvessa");
  EXPECT_EQ(WriteUserAccountInfo(), 5);
  faults.on_call = nullptr;
}

TEST_F(Settings, SurviveAWriteAndAReadWithOneSignerAndAnUnknownAddressLeavesNone) {
  for (const char* address : {"a@x.org", "b@x.org", "c@x.org"}) StoreAccount(address, true);
  ReadUserAccountInfo();
  EXPECT_EQ(GetSigningAccount()->m_sAlias, "a@x.org") << "the first of those stored";
  SetAsSignerAccount("b@x.org");
  EXPECT_EQ(GetSigningAccount()->m_sAlias, "b@x.org");
  g_bDisableOutgoingSigning = true;
  g_lPassphraseMemory = -1;
  RemoveNimbraAccountUser("a@x.org");
  EXPECT_EQ(WriteUserAccountInfo(), 0);
  EXPECT_EQ(StoredAccounts(), (Lines{"b@x.org (signs)", "c@x.org"}));
  g_bDisableOutgoingSigning = false;
  g_lPassphraseMemory = 7;
  g_colAccounts.front()->SetAuthenticated(true);
  ReadUserAccountInfo();
  EXPECT_TRUE(g_bDisableOutgoingSigning);
  EXPECT_EQ(g_lPassphraseMemory, -1);
  EXPECT_EQ(GetSigningAccount()->m_sAlias, "b@x.org");
  EXPECT_FALSE(g_colAccounts.front()->GetAuthenticated());
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

/// The running version is 1.0.0.
class ProductUpdatesTest : public AddInFixture {
 protected:
  ProductUpdatesTest() { SetEdition("URLUpdate", "http://example.com/update"); }

  void Announce(const std::string& page) { inet.pages["http://example.com/update"] = page; }
  std::string Seen() {
    return Decimal(Preference("SeenUpdateMsgMaj")) + "." + Decimal(Preference("SeenUpdateMsgMin")) +
           "." + Decimal(Preference("SeenUpdateMsgRev"));
  }
  static std::string Notice(const std::string& version, const std::string& message = "") {
    return message + "\r\n\r\nYour version: 1.0.0\r\nLatest version: " + version +
           "\r\n\r\nFor more information, click OK\r\n"
           "To continue using this version, click Cancel";
  }
};

TEST_F(ProductUpdatesTest, ShowsANewerVersionOnceUnlessAsked) {
  Announce(
      "<update>\r\n<major>1</major>\r\n<minor>5</minor>\r\n<revision>0</revision>\r\n"
      "<message lang=\"en\">PRODUCT_NAME &amp; more: PRODUCT_NAME</message>"
      "<urlInfo>http://example.com/?a=1&amp;b=2</urlInfo></update>");
  const std::string notice = Notice(
      "1.5.0", "Corvessa Professional for Outlook & more: Corvessa Professional for Outlook");
  ui.ExpectBox(notice, 2);
  CheckForProductUpdates(false);
  EXPECT_EQ(Seen(), "1.5.0");
  CheckForProductUpdates(false);
  EXPECT_THAT(shell.pages, ElementsAre());
  ui.ExpectBox(notice, 1);
  CheckForProductUpdates(true);
  EXPECT_THAT(shell.pages, ElementsAre("http://example.com/?a=1&b=2"));
  EXPECT_EQ(LoadedFormNames(), Lines{});
}

TEST_F(ProductUpdatesTest, ReadsWholeFieldsAndComparesFieldByField) {
  const auto check = [&](const std::string& seen, bool is_newer) {
    if (is_newer) {
      ui.ExpectBox(Notice(seen), platform::kAnswerCancel);
    } else {
      CheckForProductUpdates(false);
      ui.ExpectBox("No product updates are available at this time.");
    }
    CheckForProductUpdates(true);
    EXPECT_EQ(Seen(), seen);
  };
  // A failed fetch counts as version zero.
  AllowError("frmManageUserKeys::CheckForProductUpdates - ");
  check("0.0.0", false);
  const struct {
    std::string page;
    std::string seen;
    bool is_newer = false;
  } cases[] = {{"<major>2</major>", "2.0.0", true},
               {"<major>1</major><minor>1</minor>", "1.1.0", true},
               {"<major>1</major><revision>1</revision>", "1.0.1", true},
               {"<major>1</major><minor>10</minor>", "1.10.0", true},
               {"<major>1</major>", "1.0.0"},
               {"<minor>9</minor><revision>9</revision>", "0.9.9"},
               {"", "0.0.0"},
               {"<major>1", "0.0.0"},
               {"<major", "0.0.0"},
               {"<major>1</minor><minor>2</minor>", "0.2.0"},
               {"<major>\n 1 build 7</major><minor><b>3</b></minor>", "1.0.0"},
               {"<major><major>1</major></major><minor>1</minor>", "0.1.0"},
               {"<revision>99999999999</revision>", "0.0.2147483647"},
               {"<major>1</major><major>9</major>", "1.0.0"},
               {std::string("\0\xFF<major>1</major>", 18), "1.0.0"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.page);
    Announce(c.page);
    check(c.seen, c.is_newer);
  }
}

}  // namespace
}  // namespace corvessa::testing
