#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "accounts/frm_login.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {

/// The add-in with the real engine and two key pairs: Ann reads, Bob writes to her. Made messages
/// come from a second engine on the same rings, so that nothing is unlocked in the add-in's.
class ReadingFixture : public AddInFixture {
 protected:
  static constexpr std::string_view kAnn = "ann@example.org";
  static constexpr std::string_view kBob = "bob@example.com";
  static constexpr std::string_view kAnnsPassphrase = "a horse & a battery";
  static constexpr std::string_view kBobsPassphrase = "staple";

  ReadingFixture() : AddInFixture({.engine = EngineChoice::kReal}) {}
  void SetUp() override {
    engine::KeyInfo made;
    ASSERT_EQ(Keys().GenerateKey("Ann Example", kAnn, kAnnsPassphrase, made), 0);
    ASSERT_EQ(Keys().GenerateKey("Bob Example", kBob, kBobsPassphrase, made), 0);
    ASSERT_EQ(Keys().AuthenticateAccount(kBob, kBobsPassphrase), 0);
    StoreAccount(kAnn, true);
  }

  /// Armour for Ann, and clear-signed by Bob.
  std::string Encrypted(std::string_view text) {
    const ScriptedStringVector recipients({std::string(kAnn)});
    std::string armoured;
    EXPECT_EQ(Keys().EncryptText(recipients, text, armoured), 0) << Keys().GetEngineLastError();
    return armoured;
  }
  std::string Signed(std::string_view text) {
    const platform::EngineAccount bob{std::string(kBob)};
    std::string signed_text;
    EXPECT_EQ(Keys().SignText(text, &bob, signed_text), 0) << Keys().GetEngineLastError();
    return signed_text;
  }
  /// The same of a file's content; the signature is detached.
  std::string EncryptedFile(std::string_view content) {
    const ScriptedStringVector recipients({std::string(kAnn)});
    files.Write(kPlainFile, content);
    EXPECT_EQ(Keys().EncryptFileToFile(recipients, kPlainFile, kMadeFile), 0);
    return Taken(kMadeFile);
  }
  std::string SignatureOf(std::string_view content) {
    std::string signature_path;
    files.Write(kPlainFile, content);
    EXPECT_EQ(Keys().SignFile(kPlainFile, signature_path), 0) << Keys().GetEngineLastError();
    return Taken(signature_path);
  }

  /// A mail from Bob in the Inbox.
  desk::ItemPtr Received(std::string body,
                         std::vector<std::pair<std::string, std::string>> attachments = {}) {
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
  /// The item's attachments as it is open now: display name and content.
  std::vector<std::pair<std::string, std::string>> AttachmentsOf(const desk::Item& item) const {
    std::vector<std::pair<std::string, std::string>> found;
    for (const auto& attachment : item.Data().attachments) {
      found.emplace_back(attachment->display_name, attachment->content->Bytes());
    }
    return found;
  }

  /// The next passphrase dialog is answered with that; an empty one cancels it.
  void ExpectLogin(std::string_view passphrase) {
    ui.Expect<frmLogin>("frmLogin", [typed = std::string(passphrase)](frmLogin& form) {
      form.txtPassword.Type(typed);
      (typed.empty() ? form.cmdCancel : form.cmdOK).Press();
    });
  }

 private:
  static constexpr std::string_view kPlainFile = "c:\\Temp\\made.bin";
  static constexpr std::string_view kMadeFile = "c:\\Temp\\made.out";

  std::string Taken(std::string_view made_file) {
    std::string made = files.Read(made_file);
    files.Delete(kPlainFile);
    files.Delete(made_file);
    return made;
  }
};

}  // namespace corvessa::testing
