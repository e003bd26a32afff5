#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "accounts/frm_login.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {

/// What must never be found in the clear.
inline constexpr std::string_view kCanary = "canary-5e11";
inline constexpr std::string_view kText =
    "Dear Bob,\r\n\r\n- canary-5e11 \xE2\x82\xAC\r\n--Ann\r\n";

/// Ann's Outlook with the real engine. Ann signs; Bob's key is in her rings too, so that the add-in
/// can be asked what Bob would see. Dan has no key.
class Sending : public AddInFixture {
 protected:
  explicit Sending(std::string outlook_version = "9.0.0.2711")
      : AddInFixture(
            {.engine = EngineChoice::kReal, .outlook_version = std::move(outlook_version)}) {
    engine::KeyInfo made;
    for (const std::string address : {"ann@example.org", "bob@example.org"}) {
      EXPECT_EQ(Keys().GenerateKey("", address, "secret", made), 0);
      StoreAccount(address, address == "ann@example.org");
    }
    ConnectAddIn();
  }

  static void SendTo(const desk::ItemPtr& item, const char* name, const char* address,
                     desk::RecipientKind kind = desk::RecipientKind::kTo) {
    item->EditRecipients({{kind, name, address, "", {}}});
  }
  /// Opens a draft to Bob in a window with the options bar.
  desk::ItemPtr Draft() {
    const auto item = outlook.NewMail();
    item->EditSubject("Greetings");
    item->EditBody(kText);
    SendTo(item, "Bob", "Bob@Example.org");
    outlook.Open(item);
    return item;
  }
  void Attach(const desk::ItemPtr& item, const std::string& name, std::string_view content) {
    item->AddAttachment({name, name, outlook.Keep(content), "", ""});
  }
  /// Turns off what is not wanted, with the buttons of the options bar.
  static void Choose(const desk::ItemPtr& item, bool encrypt, bool sign) {
    const desk::Bars& bars = item->Window()->Bars();
    EXPECT_TRUE(encrypt || desk::OutlookModel::Click(bars, "Encrypt on send"));
    EXPECT_TRUE(sign || desk::OutlookModel::Click(bars, "Sign on send"));
  }
  /// Every login from now on is answered with that passphrase.
  void LogInWith(std::string passphrase) {
    ui.AllowForm("frmLogin", [passphrase](Form& form) {
      auto& login = dynamic_cast<frmLogin&>(form);
      login.txtPassword.Type(passphrase);
      login.cmdOK.Press();
    });
  }
};

/// The names and contents, as "name: content", in order.
inline std::vector<std::string> Attachments(const desk::ItemData& data) {
  std::vector<std::string> listed;
  for (const auto& attachment : data.attachments) {
    listed.push_back(attachment->display_name + ": " + attachment->content->Bytes());
  }
  return listed;
}

}  // namespace corvessa::testing
