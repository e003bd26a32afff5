#include "support/reading_fixture.h"

#include <utility>

#include "accounts/frm_login.h"

namespace corvessa::testing {
namespace {

constexpr std::string_view kPlainFile = "c:\\Temp\\made.bin";
constexpr std::string_view kMadeFile = "c:\\Temp\\made.out";

}  // namespace

void ReadingFixture::SetUp() {
  engine::KeyInfo made;
  ASSERT_EQ(Keys().GenerateKey("Ann Example", kAnn, kAnnsPassphrase, made), 0);
  ASSERT_EQ(Keys().GenerateKey("Bob Example", kBob, kBobsPassphrase, made), 0);
  ASSERT_EQ(Keys().AuthenticateAccount(kBob, kBobsPassphrase), 0);
  StoreAccount(kAnn, true);
}

std::string ReadingFixture::Encrypted(std::string_view text) {
  const ScriptedStringVector recipients({std::string(kAnn)});
  std::string armoured;
  EXPECT_EQ(Keys().EncryptText(recipients, text, armoured), 0) << Keys().GetEngineLastError();
  return armoured;
}

std::string ReadingFixture::Signed(std::string_view text) {
  const platform::EngineAccount bob{std::string(kBob)};
  std::string signed_text;
  EXPECT_EQ(Keys().SignText(text, &bob, signed_text), 0) << Keys().GetEngineLastError();
  return signed_text;
}

std::string ReadingFixture::EncryptedFile(std::string_view content) {
  const ScriptedStringVector recipients({std::string(kAnn)});
  files.Write(kPlainFile, content);
  EXPECT_EQ(Keys().EncryptFileToFile(recipients, kPlainFile, kMadeFile), 0);
  std::string made = files.Read(kMadeFile);
  files.Delete(kPlainFile);
  files.Delete(kMadeFile);
  return made;
}

std::string ReadingFixture::SignatureOf(std::string_view content) {
  std::string signature_path;
  files.Write(kPlainFile, content);
  EXPECT_EQ(Keys().SignFile(kPlainFile, signature_path), 0) << Keys().GetEngineLastError();
  std::string made = files.Read(signature_path);
  files.Delete(kPlainFile);
  files.Delete(signature_path);
  return made;
}

desk::ItemPtr ReadingFixture::Received(
    std::string body, std::vector<std::pair<std::string, std::string>> attachments) {
  desk::ItemData data;
  data.sender = {"Bob & Co", std::string(kBob)};
  data.recipients = {{desk::RecipientKind::kTo, "Ann Example", std::string(kAnn), "", {}}};
  data.subject = "Plans";
  data.received_time = "2/28/2004 9:00:00 AM";
  data.body = std::make_shared<const std::string>(std::move(body));
  for (const auto& [name, content] : attachments) {
    data.attachments.push_back(std::make_shared<const desk::AttachmentData>(
        desk::AttachmentData{name, name, outlook.Keep(content), "", ""}));
  }
  return outlook.AddReceived(std::move(data));
}

std::vector<std::pair<std::string, std::string>> ReadingFixture::AttachmentsOf(
    const desk::Item& item) const {
  std::vector<std::pair<std::string, std::string>> found;
  for (const auto& attachment : item.Data().attachments) {
    found.emplace_back(attachment->display_name, desk::ReadAll(*attachment->content));
  }
  return found;
}

void ReadingFixture::ExpectLogin(std::string_view passphrase) {
  ui.Expect<frmLogin>("frmLogin", [typed = std::string(passphrase)](frmLogin& form) {
    form.txtPassword.Type(typed);
    (typed.empty() ? form.cmdCancel : form.cmdOK).Press();
  });
}

}  // namespace corvessa::testing
