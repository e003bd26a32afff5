#include "accounts/frm_manage_user_keys.h"

#include <gmock/gmock.h>

#include "accounts/address_dialogs.h"
#include "accounts/nimbra_account.h"
#include "accounts/registry_handlers.h"
#include "accounts/user_management.h"
#include "base/text.h"
#include "crypto/crypto_operations.h"
#include "forms/dialogs.h"
#include "settings/settings.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {
namespace {

using ::testing::ElementsAre;

class SettingsDialogTest : public AddInFixture {
 protected:
  SettingsDialogTest() {
    ui.AllowForm("frmManageUserKeys");
    g_bSettingsLoaded = true;
  }

  /// A user with these addresses, the first of which signs when `signs`.
  void HaveAccounts(const std::vector<std::string>& addresses, bool signs) {
    for (const std::string& address : addresses) {
      StoreAccount(address, signs && address == addresses.front());
    }
    RegistryHandlers::ReadUserAccountInfo();
  }

  static std::shared_ptr<frmManageUserKeys> Open() {
    const auto dialog = std::make_shared<frmManageUserKeys>();
    dialog->Show();
    return dialog;
  }

  /// Presses Add and enters the address.
  void Add(frmManageUserKeys& dialog, const std::string& address) {
    ui.Expect<frmEMail>("frmEMail", [address](frmEMail& form) {
      form.edEmail.Type(address);
      form.cmdOK.Press();
    });
    dialog.cmdAdd.Press();
  }

  /// Opens the properties of the selected address and sets its signing mark.
  void SetSigning(frmManageUserKeys& dialog, bool signs, bool ok = true) {
    ui.Expect<frmAliasOptions>("frmAliasOptions", [=](frmAliasOptions& form) {
      form.chkSign.SetChecked(signs);
      (ok ? form.cmdOK : form.cmdCancel).Press();
    });
    dialog.cmdProperties.Press();
  }

  /// Presses Remove and answers its question.
  void Remove(frmManageUserKeys& dialog, const std::string& address, bool yes = true) {
    ui.Expect<frmGeneric>("frmGeneric", [=](frmGeneric& form) {
      EXPECT_EQ(form.lblMessage.Caption(),
                "Are you sure you want to remove the secure email address '" + address + "' ?");
      (yes ? form.cmdOK : form.cmdCancel).Press();
    });
    dialog.cmdRemove.Press();
  }
};

const std::string kNotSecured =
    "The email address new@example.com is not secured on the key server network.\r\n";

TEST_F(SettingsDialogTest, LooksAsDesigned) {
  SetEdition("URLUpdate", "http://example.com/update");
  inet.pages["http://example.com/update"] = "";
  HaveAccounts({"a@example.com", "b@example.com"}, true);
  const auto dialog = Open();
  ExpectGoldenForm("frmManageUserKeys", *dialog);
  dialog->tbsTabs.ClickTab(2);
  ExpectGoldenForm("frmManageUserKeys_options", *dialog);
  for (int i = 0; i < 2; ++i) {
    ui.ExpectBox("No product updates are available at this time.");
    dialog->cmdProductUpdates.Press();
  }
  dialog->chkDisableKVP.Toggle();
  ExpectGoldenForm("frmManageUserKeys_disabling", *dialog);
  dialog->chkDisableKVP.Toggle();
  ExpectGoldenForm("frmManageUserKeys_options", *dialog);
  dialog->ShowTab(1);
  ExpectGoldenForm("frmManageUserKeys", *dialog);
}

TEST_F(SettingsDialogTest, ItsButtonsOpenTheirPages) {
  for (const char* name : {"URLHelp", "URLTools", "URLMain", "URLHelpAddInstructions"}) {
    SetEdition(name, "http://example.com/" + std::string(name));
  }
  const auto dialog = std::make_shared<frmManageUserKeys>();
  dialog->chkDisableKVP.SetChecked(true);
  EXPECT_TRUE(dialog->cmdAdd.Enabled()) << "nothing is blocked before the form is loaded";
  dialog->Show();
  dialog->cmdHelp.Press();
  dialog->cmdTools.Press();
  ui.Expect<frmAbout>("frmAbout", [](frmAbout& form) {
    form.cmdNimbraSite.Press();
    form.cmdOK.Press();
  });
  dialog->cmdAbout.Press();
  ui.Expect<frmEMail>("frmEMail", [](frmEMail& form) {
    form.cmdAddInstructions.Press();
    form.cmdCancel.Press();
  });
  dialog->cmdAdd.Press();
  EXPECT_THAT(shell.pages, ElementsAre("http://example.com/URLHelp", "http://example.com/URLTools",
                                       "http://example.com/URLMain",
                                       "http://example.com/URLHelpAddInstructions"));
  dialog->ShowTab(2);
  EXPECT_FALSE(dialog->cmdProductUpdates.IsShown());
}

TEST_F(SettingsDialogTest, OpensBlockedWhileTheAddInIsDisabled) {
  HaveAccounts({"a@example.com"}, false);
  g_bDisableKVPEntirely = true;
  const auto dialog = Open();
  for (CommandButton* button : {&dialog->cmdAdd, &dialog->cmdRemove, &dialog->cmdProperties}) {
    button->Press();
  }
  ExpectGoldenForm("frmManageUserKeys_disabled", *dialog);
  dialog->ShowTab(2);
  dialog->chkDisableKVP.Toggle();
  dialog->ShowTab(1);
  ExpectGoldenForm("frmManageUserKeys_enabled_without_signer", *dialog);
  dialog->cmdOK.Press();
  EXPECT_EQ(Preference("DisableKVPEntirely"), 0);
  EXPECT_THAT(LoadedFormNames(), ElementsAre("frmTimer"));
}

TEST_F(SettingsDialogTest, SignsByDefaultOnlyWithASigner) {
  HaveAccounts({"a@example.com", "b@example.com"}, false);
  const auto dialog = Open();
  const auto expect_signing = [&](bool enabled, bool checked) {
    EXPECT_EQ(dialog->chkSignOutgoing.Enabled(), enabled);
    EXPECT_EQ(dialog->chkSignOutgoing.Checked(), checked);
  };
  expect_signing(false, false);
  EXPECT_EQ(Preference("DisableOutgoingSigning"), -1);

  SetSigning(*dialog, true, false);
  EXPECT_THAT(StoredAccounts(), ElementsAre("a@example.com", "b@example.com"));

  // The first signer switches signing on; a later one takes its place.
  SetSigning(*dialog, true);
  expect_signing(true, true);
  EXPECT_EQ(Preference("DisableOutgoingSigning"), 0);
  EXPECT_THAT(StoredAccounts(), ElementsAre("a@example.com (signs)", "b@example.com"));
  dialog->lstvwAliases.ClickRow(1);
  SetSigning(*dialog, true);
  EXPECT_THAT(StoredAccounts(), ElementsAre("a@example.com", "b@example.com (signs)"));
  EXPECT_EQ(dialog->lstvwAliases.Describe(),
            R"("Secure Email Addresses" {"a@example.com", >"b@example.com" <Nimbra Signer>})");

  // Who has switched it off while there was a signer keeps it off.
  g_bDisableOutgoingSigning = true;
  dialog->chkSignOutgoing.SetChecked(false);
  SetSigning(*dialog, true);
  expect_signing(true, false);

  // Removing the signer shows at the next run of the rule.
  Remove(*dialog, "b@example.com");
  EXPECT_THAT(StoredAccounts(), ElementsAre("a@example.com", "b@example.com (signs)"));
  expect_signing(true, false);
  SetSigning(*dialog, false);
  expect_signing(false, false);
  EXPECT_EQ(Preference("DisableOutgoingSigning"), -1);
  EXPECT_THAT(StoredAccounts(), ElementsAre("a@example.com"));
}

TEST_F(SettingsDialogTest, AddKeepsAnAddressByEditionAndEngineAnswer) {
  SetEdition("URLMain", "http://example.com/");
  SetEdition("URLKeyGen", "http://example.com/keys");
  const std::string visit = kNotSecured +
                            "To create a new email address which is compatible with Corvessa "
                            "please visit:\r\n\r\n\thttp://example.com/";
  const std::string page = "http://example.com/keys?alias=new@example.com";
  const struct {
    bool key_gen;
    std::int32_t engine;
    std::string box;
    std::int32_t box_answer;
    bool kept;
    std::vector<std::string> pages;
  } cases[] = {{true, 0, "", 0, true, {}},
               {true, -13, kNotSecured + "Secure this email address now?", 2, true, {}},
               {true, -13, kNotSecured + "Secure this email address now?", 1, true, {page}},
               {true, -16, "Unable to connect to key server", 0, true, {}},
               {false, 0, "", 0, true, {}},
               {false, -13, visit, 0, false, {}},
               {false, -16, "Unable to connect to key server", 0, false, {}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.key_gen << " " << c.engine << " " << c.box_answer);
    shell.pages.clear();
    g_colAccounts.clear();
    g_bDisableKeyGen = !c.key_gen;
    scripted_engine.engine->Always("QueryKeyPair", {.status = c.engine});
    const auto dialog = Open();
    if (c.box_answer > 0) {
      ui.ExpectBox(c.box, c.box_answer);
    } else if (!c.box.empty()) {
      ui.ExpectBox(c.box);
    }
    Add(*dialog, " New@Example.com ");
    EXPECT_EQ(dialog->cmdRemove.Enabled(), c.kept);
    EXPECT_THAT(StoredAccounts(), ElementsAre());
    dialog->PressCloseBox();
    EXPECT_EQ(StoredAccounts(),
              c.kept ? std::vector<std::string>{"new@example.com"} : std::vector<std::string>{});
    EXPECT_EQ(shell.pages, c.pages);
  }
  g_oCrypto = nullptr;
  g_bDisableKeyGen = false;
  scripted_engine.refusal = Error{kCannotCreateComponent, "no engine"};
  AllowError("CryptoOperations::Class_Initialize: no engine");
  AllowError("frmManageUserKeys::cmdAdd_Click - Object variable or With block variable not set");
  const auto dialog = Open();
  ui.ExpectBox("Unable to connect to key server");
  Add(*dialog, "other@example.com");
  EXPECT_EQ(dialog->lstvwAliases.RowCount(), 1);
}

TEST_F(SettingsDialogTest, UnsavedAddressesOutliveAReloadOfTheSettings) {
  HaveAccounts({"a@example.com", "b@example.com"}, false);
  const auto dialog = Open();
  for (int again = 0; again < 2; ++again) Add(*dialog, "new@example.com");
  for (const bool yes : {false, true}) {
    Remove(*dialog, "a@example.com", yes);
    EXPECT_EQ(dialog->lstvwAliases.RowCount(), yes ? 2 : 3);
  }
  RegistryHandlers::ReadUserAccountInfo();
  dialog->Show();
  dialog->lstvwAliases.ClickRow(1);
  SetSigning(*dialog, true);
  EXPECT_THAT(StoredAccounts(), ElementsAre("b@example.com", "new@example.com (signs)"));

  // One that is removed and added again keeps what it is given then; also one that the registry
  // holds in capitals.
  HaveAccounts({"Bob@example.com"}, false);
  for (const std::string address : {"new@example.com", "Bob@example.com"}) {
    const auto again = Open();
    again->lstvwAliases.ClickRow(1);
    Remove(*again, address);
    Add(*again, address);
    again->lstvwAliases.ClickRow(2);
    SetSigning(*again, true);
    EXPECT_THAT(StoredAccounts(), ::testing::Contains(address + " (signs)"));
  }
}

TEST_F(SettingsDialogTest, OkStoresThePreferencesAndTheCloseBoxNone) {
  HaveAccounts({"a@example.com"}, true);
  const auto stored = [&] {
    std::string numbers;
    for (const char* name :
         {"LogDebuggingInfo", "DisableKVPEntirely", "DisableAutoDecryptAndVerify",
          "DisableOutgoingEncryption", "DisableOutgoingSigning", "PassphraseMemory"}) {
      numbers += Decimal(Preference(name)) + " ";
    }
    return numbers;
  };
  const auto dialog = Open();
  dialog->chkEncryptOutgoing.Toggle();
  dialog->chkSignOutgoing.Toggle();
  dialog->chkDecryptAndVerifyIncoming.Toggle();
  dialog->ShowTab(2);
  dialog->chkLogDebuggingInfo.Toggle();
  dialog->chkDisableKVP.Toggle();
  const auto other = Open();
  other->chkEncryptOutgoing.Toggle();
  other->PressCloseBox();
  EXPECT_EQ(stored(), "-1 0 0 0 0 0 ");
  dialog->cmdOK.Press();
  EXPECT_FALSE(dialog->IsLoaded());
  EXPECT_EQ(stored(), "0 -1 -1 -1 -1 0 ");
}

TEST_F(SettingsDialogTest, PassphraseMemoryGoesFromItsControlsAndBack) {
  const struct {
    int remember;
    int forget_when;
    std::string typed;
    std::string after_leaving;
    std::int32_t stored;
    /// The two choices and the minutes, when it is opened again.
    std::string shown;
  } cases[] = {{0, 1, "15", "15", 0, "0 0 5"},
               {1, 0, "15", "15", -1, "1 0 5"},
               {1, 1, "5", "5", 5, "1 1 5"},
               {1, 1, "15 minutes", "15", 15, "1 1 15"},
               {1, 1, "2.90", "2.9", 2, "1 1 2"},
               {1, 1, "-1", "-1", -1, "1 0 5"},
               {1, 1, "-1.5", "-1.5", -2, "1 1 -2"},
               {1, 1, "soon", "0", 0, "0 0 5"},
               {1, 1, std::string(400, '9'), "2147483647", 2147483647, "1 1 2147483647"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.typed);
    for (const bool leaves : {true, false}) {
      g_lPassphraseMemory = 0;
      const auto dialog = Open();
      dialog->ShowTab(2);
      dialog->optRemember[1].Press();
      dialog->optForgetWhen[c.forget_when].Press();
      dialog->txtForgetWhen.Type(c.typed);
      if (leaves) dialog->txtForgetWhen.LoseFocus();
      EXPECT_EQ(dialog->txtForgetWhen.Text(), leaves ? c.after_leaving : c.typed);
      dialog->optRemember[c.remember].Press();
      dialog->cmdOK.Press();
      EXPECT_EQ(Preference("PassphraseMemory"), c.stored);
      const auto again = Open();
      const bool forgets = again->optRemember[1].Selected();
      EXPECT_EQ(Decimal(forgets) + " " + Decimal(again->optForgetWhen[1].Selected()) + " " +
                    std::string(again->txtForgetWhen.Text()),
                c.shown);
      EXPECT_EQ(again->txtForgetWhen.Enabled(), forgets);
      again->PressCloseBox();
    }
  }
}

TEST_F(SettingsDialogTest, OffersImapAccessWhereTheServerSaysSo) {
  const std::string page = "http://example.com/check?alias=new@example.com";
  SetEdition("URLIMAPInfo", "http://example.com/imap?x=1");
  SetEdition("URLIMAPCheck", "http://example.com/check");
  const std::string question =
      "Corvessa Professional for Outlook was created for Corvessa users who have\r\n"
      "already enabled IMAP access to their email.\r\n\r\n"
      "To find out more about enabling IMAP access, click OK\r\n"
      "To continue using Corvessa Professional for Outlook, click Cancel";
  const auto dialog = Open();
  for (const auto& [answer, asks] : std::vector<std::pair<std::string, bool>>{
           {"", false}, {"no number", false}, {" 0", false}, {"-1 or so", true}, {"2", true}}) {
    inet.pages[page] = answer;
    if (asks) ui.ExpectBox(question, answer == "2" ? 1 : 2);
    Add(*dialog, "new@example.com");
  }
  EXPECT_THAT(shell.pages, ElementsAre("http://example.com/imap?x=1&alias=new@example.com"));
  // Not asked: either page missing.
  SetEdition("URLIMAPInfo", "");
  Add(*dialog, "new@example.com");
  SetEdition("URLIMAPInfo", "http://example.com/imap");
  AllowError("frmManageUserKeys::cmdAdd_Click - ");
  inet.pages.clear();
  Add(*dialog, "new@example.com");
}

}  // namespace
}  // namespace corvessa::testing
