#include "sending.h"

#include <utility>

#include "accounts/frm_login.h"

namespace corvessa::testing {

Sending::Sending(std::string outlook_version)
    : AddInFixture({.engine = EngineChoice::kReal, .outlook_version = std::move(outlook_version)}) {
  engine::KeyInfo made;
  for (const char* address : {"ann@example.org", "bob@example.org"}) {
    EXPECT_EQ(Keys().GenerateKey("", address, "secret", made), 0);
    StoreAccount(address, std::string_view(address) == "ann@example.org");
  }
  ConnectAddIn();
}

desk::ItemPtr Sending::Draft() {
  const auto item = outlook.NewMail();
  item->EditSubject("Greetings");
  item->EditBody(kText);
  item->EditRecipients({{desk::RecipientKind::kTo, "Bob", "Bob@Example.org", "", {}}});
  outlook.Open(item);
  return item;
}

void Sending::Attach(const desk::ItemPtr& item, const std::string& name, std::string_view content) {
  item->AddAttachment({name, name, outlook.Keep(content), "", ""});
}

void Sending::Choose(const desk::ItemPtr& item, bool encrypt, bool sign) {
  const desk::Bars& bars = item->Window()->Bars();
  EXPECT_TRUE(encrypt || desk::OutlookModel::Click(bars, "Encrypt on send"));
  EXPECT_TRUE(sign || desk::OutlookModel::Click(bars, "Sign on send"));
}

void Sending::LogInWith(std::string passphrase) {
  ui.AllowForm("frmLogin", [passphrase](Form& form) {
    auto& login = dynamic_cast<frmLogin&>(form);
    login.txtPassword.Type(passphrase);
    login.cmdOK.Press();
  });
}

std::vector<std::string> Attachments(const desk::ItemData& data) {
  std::vector<std::string> listed;
  for (const auto& attachment : data.attachments) {
    listed.push_back(attachment->display_name + ": " + desk::ReadAll(*attachment->content));
  }
  return listed;
}

}  // namespace corvessa::testing
