#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "accounts/frm_login.h"
#include "base/text.h"
#include "crypto/temp_files.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {

/// Display names and contents, in order.
using NamedFiles = std::vector<std::pair<std::string, std::string>>;

inline NamedFiles AttachmentsOf(const desk::ItemData& data) {
  NamedFiles found;
  for (const auto& attachment : data.attachments) {
    found.emplace_back(attachment->display_name, attachment->content->Bytes());
  }
  return found;
}
/// Those of the item as it is open now.
inline NamedFiles AttachmentsOf(const desk::Item& item) {
  return AttachmentsOf(item.Data());
}

/// The add-in with the real engine and two key pairs: Ann's, whose Outlook it is and who signs, and
/// Bob's. Made messages come from a second engine on the same rings, so that nothing is unlocked in
/// the add-in's.
class MailFixture : public AddInFixture {
 protected:
  static constexpr std::string_view kAnn = "ann@example.org";
  static constexpr std::string_view kBob = "bob@example.org";
  static constexpr std::string_view kPassphrase = "a horse & a battery";

  explicit MailFixture(std::string outlook_version = "9.0.0.2711")
      : AddInFixture(EngineChoice::kReal, std::move(outlook_version)) {
    for (const std::string_view address : {kAnn, kBob}) MakeKey(address);
    StoreAccount(kAnn, true);
    ui.AllowForm("frmMessageStatus");
  }

  void MakeKey(std::string_view address) {
    engine::KeyInfo made;
    EXPECT_EQ(Keys().GenerateKey("", address, kPassphrase, made), 0);
  }

  /// Armour for Ann, and clear-signed by Bob.
  std::string Encrypted(std::string_view text) {
    std::string armoured;
    EXPECT_EQ(Keys().EncryptText(ToAnn(), text, armoured), 0) << Keys().GetEngineLastError();
    return armoured;
  }
  std::string Signed(std::string_view text) {
    const platform::EngineAccount bob{std::string(kBob)};
    std::string signed_text;
    EXPECT_EQ(Keys().AuthenticateAccount(kBob, kPassphrase), 0);
    EXPECT_EQ(Keys().SignText(text, &bob, signed_text), 0) << Keys().GetEngineLastError();
    return signed_text;
  }
  /// The same of a file's content; the signature is detached.
  std::string EncryptedFile(std::string_view content) {
    files.Write(kPlainFile, content);
    EXPECT_EQ(Keys().EncryptFileToFile(ToAnn(), kPlainFile, kMadeFile), 0);
    return Taken(kMadeFile);
  }
  std::string SignatureOf(std::string_view content) {
    std::string signature_path;
    files.Write(kPlainFile, content);
    EXPECT_EQ(Keys().AuthenticateAccount(kBob, kPassphrase), 0);
    EXPECT_EQ(Keys().SignFile(kPlainFile, signature_path), 0) << Keys().GetEngineLastError();
    return Taken(signature_path);
  }

  /// A mail from Bob in the Inbox.
  desk::ItemPtr Received(std::string body, const NamedFiles& attachments = {},
                         std::string html = "") {
    desk::ItemData data;
    data.sender = {"Bob & Co", std::string(kBob)};
    data.recipients = {{desk::RecipientKind::kTo, "Ann Example", std::string(kAnn), "", {}}};
    data.subject = "Plans";
    data.received_time = "2/28/2004 9:00:00 AM";
    data.body = std::make_shared<const std::string>(std::move(body));
    data.html = std::make_shared<const std::string>(std::move(html));
    for (const auto& [name, content] : attachments) {
      data.attachments.push_back(std::make_shared<const desk::AttachmentData>(
          desk::AttachmentData{name, name, outlook.Keep(content), "", ""}));
    }
    return outlook.AddReceived(std::move(data));
  }

  /// Nothing that was read may have stayed, and nothing have been saved.
  void ExpectNoTraces(const desk::Item& item) {
    EXPECT_EQ(TemporaryFiles(), std::vector<std::string>{});
    EXPECT_EQ(g_colTempFiles, std::vector<std::string>{});
    EXPECT_EQ(item.SavesByAddIn(), 0);
  }
  /// Caption and face of the add-in's buttons in the window: "Message is encrypted 1087; ".
  static std::string ButtonsOf(const desk::InspectorWindow& window) {
    std::string buttons;
    for (const auto& bar : window.Bars().All()) {
      if (!bar->IsTemporary()) continue;
      for (const auto& button : bar->Buttons()) {
        const desk::ButtonProperties& look = button->Properties();
        buttons += look.caption + " " + Decimal(look.face_id) + "; ";
      }
    }
    return buttons;
  }

  static void SendTo(const desk::ItemPtr& item, const char* name, std::string_view address,
                     desk::RecipientKind kind = desk::RecipientKind::kTo) {
    item->EditRecipients({{kind, name, std::string(address), "", {}}});
  }
  void Attach(const desk::ItemPtr& item, const std::string& name, std::string_view content) {
    item->AddAttachment({name, name, outlook.Keep(content), "", ""});
  }
  /// Opens a draft to Bob in a window with the options bar.
  desk::ItemPtr Draft(std::string_view text) {
    auto item = outlook.NewMail();
    item->EditSubject("Greetings");
    item->EditBody(text);
    SendTo(item, "Bob", "Bob@Example.org");
    outlook.Open(item);
    return item;
  }
  /// Turns off what is not wanted, with the buttons of the options bar.
  static void Choose(const desk::ItemPtr& item, bool encrypt, bool sign) {
    const desk::Bars& bars = item->Window()->Bars();
    EXPECT_TRUE(encrypt || desk::OutlookModel::Click(bars, "Encrypt on send"));
    EXPECT_TRUE(sign || desk::OutlookModel::Click(bars, "Sign on send"));
  }

  /// The next passphrase dialog is answered with that; an empty one cancels it.
  void ExpectLogin(std::string_view passphrase) { ui.ExpectForm("frmLogin", Typed(passphrase)); }
  /// Every one from now on.
  void LogInWith(std::string_view passphrase) { ui.AllowForm("frmLogin", Typed(passphrase)); }

 private:
  static constexpr std::string_view kPlainFile = "c:\\Temp\\made.bin";
  static constexpr std::string_view kMadeFile = "c:\\Temp\\made.out";

  static ScriptedStringVector ToAnn() { return ScriptedStringVector({std::string(kAnn)}); }
  static ScriptedUi::FormAnswer Typed(std::string_view passphrase) {
    return [typed = std::string(passphrase)](Form& form) {
      auto& login = dynamic_cast<frmLogin&>(form);
      login.txtPassword.Type(typed);
      (typed.empty() ? login.cmdCancel : login.cmdOK).Press();
    };
  }
  std::string Taken(std::string_view made_file) {
    std::string made = files.Read(made_file);
    files.Delete(kPlainFile);
    files.Delete(made_file);
    return made;
  }
};

}  // namespace corvessa::testing
