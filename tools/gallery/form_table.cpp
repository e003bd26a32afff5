#include "gallery/form_table.h"

#include <memory>
#include <utility>
#include <windows.h>

#include "accounts/address_dialogs.h"
#include "accounts/frm_login.h"
#include "accounts/frm_manage_user_keys.h"
#include "accounts/nimbra_account.h"
#include "addin/frm_send_from_external_application.h"
#include "addin/frm_splash_screen.h"
#include "forms/dialogs.h"
#include "forms/frm_progress.h"
#include "message/frm_message_status.h"
#include "message/frm_save_attachments.h"
#include "settings/settings.h"
#include "win32/utf16.h"

namespace corvessa::gallery {
namespace {

constexpr const char* kLong =
    "A name & a subject that are longer than any label, \xE2\x80\xAEthat turn the writing "
    "around and that go on and on and on until they end somewhere here";

template <typename FormType, typename... Arguments>
std::shared_ptr<FormType> Loaded(Arguments&&... arguments) {
  auto form = std::make_shared<FormType>(std::forward<Arguments>(arguments)...);
  form->Load();
  return form;
}

FormPtr Login(const std::string& prompt, std::vector<std::string> addresses) {
  auto form = Loaded<frmLogin>();
  form->txtPrompt1.SetCaption(prompt);
  for (std::string& address : addresses) form->cmbUsers.AddRow(std::move(address));
  form->cmbUsers.Select(0);
  return form;
}

FormPtr Settings(int tab, bool disabled = false) {
  g_colAccounts.clear();
  g_bDisableKVPEntirely = disabled;
  for (const char* address : {"alice@example.org", "office@example.org"}) {
    g_colAccounts.push_back(std::make_shared<NimbraAccount>());
    g_colAccounts.back()->m_sAlias = address;
  }
  g_colAccounts.front()->m_bSigning = true;
  auto form = Loaded<frmManageUserKeys>();
  form->ShowTab(tab);
  return form;
}

FormPtr Status(int tab, bool long_texts = false) {
  auto form = Loaded<frmMessageStatus>();
  form->SetFrom(long_texts ? kLong : "Bob Builder <bob@example.net>");
  form->SetSubject(long_texts ? kLong : "Plans & drawings");
  form->SetDate("2/2/2026 10:00:00 AM");
  form->SetEncryptionMessage("This message is encrypted.");
  form->SetSignedMessage("This message is digitally signed by bob@example.net.");
  form->SetOriginalMessageBody(
      "-----BEGIN PGP MESSAGE-----\r\n\r\nhQEMA0WIzFhGYQP3AQf/f8xiLZ3YhPbpYzVGzCdU\r\n"
      "=Lk3f\r\n-----END PGP MESSAGE-----\r\n");
  form->AddAttachment("plan.pdf (encrypted)", "plan.pdf (signed by bob@example.net)");
  form->AddAttachment(long_texts ? kLong : "notes.txt (not encrypted)", "notes.txt (not signed)");
  form->ShowTab(tab);
  return form;
}

FormPtr Options() {
  const auto account = std::make_shared<NimbraAccount>();
  account->m_sAlias = "alice@example.org";
  account->m_bSigning = true;
  return Loaded<frmAliasOptions>(account);
}

FormPtr Message(const std::string& message, std::int32_t type) {
  auto form = std::make_shared<frmGeneric>();
  form->setMessage(message);
  form->setType(type);
  form->Load();
  return form;
}

FormPtr Progress() {
  auto form = std::make_shared<frmProgress>();
  form->Init(nullptr, 8);
  for (const char* step : {"Decrypting message text", "Verifying digital signature",
                           "Decrypting attachments (1 of 2)"}) {
    form->SetCaption(step);
  }
  return form;
}

FormPtr Attachments() {
  auto form = Loaded<frmSaveAttachments>();
  for (const char* name : {"plan.pdf", "notes.txt", "picture.png"}) {
    form->lstAttachments.AddRow(name);
  }
  form->lstAttachments.SetRowChecked(0, true);
  form->txtFolder.SetText("C:\\My Documents");
  form->txtResults.AppendText("Attachment: plan.pdf\r\nSaved as C:\\My Documents\\plan.pdf\r\n");
  return form;
}

template <typename FormType>
FormPtr WithAddresses(std::vector<std::string> addresses) {
  auto form = Loaded<FormType>();
  for (std::string& address : addresses) form->lstEmailAddr.AddRow(std::move(address));
  return form;
}

FormPtr Unasked() {
  auto form = Loaded<frmSendFromExternalApplication>();
  form->chkSign.SetChecked(true);
  form->chkEncrypt.SetChecked(true);
  return form;
}

FormPtr Splash() {
  auto form = Loaded<frmSplashScreen>();
  form->SetCaption("Searching for encryption keys for alice@example.org...");
  return form;
}

}  // namespace

const std::vector<FormCase>& FormTable() {
  static const std::vector<FormCase> table = {
      {"splash", "Says what start-up is doing; appears when Outlook starts.", Splash},
      {"login",
       "Asks for the passphrase of an address; appears when a key is needed that is locked.",
       [] { return Login("Please enter your Corvessa passphrase.", {"alice@example.org"}); }},
      {"login-again", "The same after a wrong passphrase.",
       [] {
         return Login("You entered an incorrect passphrase.  Please try again.",
                      {"alice@example.org", "office@example.org"});
       }},
      {"passphrase",
       "Asks for a message's own passphrase; appears when its sender chose one instead of a key.",
       [] { return Loaded<frmPassphrase>(); }},
      {"settings", "Lists the secured addresses; opened by the add-in's toolbar button.",
       [] { return Settings(1); }},
      {"settings-options", "Holds the preferences; the second tab of the settings.",
       [] { return Settings(2); }},
      {"settings-disabled", "The settings while the add-in is switched off.",
       [] { return Settings(1, true); }},
      {"add-address", "Asks for an address to secure; opened by Add in the settings.",
       [] { return Loaded<frmEMail>(); }},
      {"address-options", "Chooses the signing address; opened by Properties in the settings.",
       Options},
      {"no-key-pairs", "Offers to create keys; appears at start-up when no address has any.",
       [] {
         return WithAddresses<frmNoKeyPairs>({"alice@example.org", "office@example.org"});
       }},
      {"message-status", "Says how a message was encrypted; opened from its status toolbar.",
       [] { return Status(1); }},
      {"message-status-signatures", "Says who signed a message; the second tab of the same.",
       [] { return Status(2); }},
      {"message-status-original", "Shows a message as it came; the third tab of the same.",
       [] { return Status(3); }},
      {"message-status-long", "The status window with texts that do not fit.",
       [] { return Status(1, true); }},
      {"save-attachments", "Decrypts and saves attachments; opened from a message's toolbar.",
       Attachments},
      {"progress", "Shows the steps while a message is decrypted and verified.", Progress},
      {"external-send",
       "Asks what to do with a message that another program sends through Outlook.", Unasked},
      {"no-keys-found",
       "Asks whether to send in clear; appears when recipients of a message have no keys.",
       [] {
         return WithAddresses<frmNoKeysFound>({"carol@example.net", "dave@example.com"});
       }},
      {"html-warning", "Lets the user choose; appears when an HTML message is to be secured.",
       [] { return Loaded<frmHTML>(); }},
      {"question", "Asks what needs an answer of Yes or No, here before an address is removed.",
       [] {
         return Message(
             "Are you sure you want to remove the secure email address 'alice@example.org' ?",
             frmGeneric::kYesNo);
       }},
      {"message", "Tells something that only has to be read.",
       [] { return Message("Error encountered getting account details", frmGeneric::kOkOnly); }},
      {"about", "Names the product and its version; opened by About in the settings.",
       [] { return Loaded<frmAbout>(); }},
  };
  return table;
}

void SetBrand(const std::string& short_name, const std::string& long_name) {
  constexpr auto kKey = L"Software\\Nimbra Communications\\Corvessa Professional\\Plugin\\Version";
  const auto set = [&](const wchar_t* name, const std::string& value) {
    const std::wstring wide = win32::ShownUtf16(value);
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, kKey, name, REG_SZ, wide.c_str(),
                    static_cast<DWORD>((wide.size() + 1) * sizeof(wchar_t)));
  };
  set(L"AppShortName", short_name);
  set(L"AppLongName", long_name);
  set(L"URLUpdate", "http://www.example.org/update");
  set(L"URLPassphrase", "http://www.example.org/passphrase");
}

}  // namespace corvessa::gallery
