#include <gmock/gmock.h>

#include "message/message_operations.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {
namespace {

class OptionsBar : public AddInFixture {
 protected:
  /// The two buttons, as "Encrypt+ Sign-", and the fields that travel with the message.
  std::string Options(const desk::InspectorWindow& window) {
    const auto bar = window.Bars().Find("Corvessa Options");
    if (!bar) return "none";
    std::string text;
    for (const auto& button : bar->Buttons()) {
      const desk::ButtonProperties& look = button->Properties();
      const bool pressed = look.state == platform::kButtonDown;
      EXPECT_EQ(look.face_id, pressed ? 1087 : 1088);
      text += look.caption.substr(0, look.caption.find(' ')) + (pressed ? "+" : "-") +
              (look.enabled ? " " : "(disabled) ");
    }
    const auto& item = window.ShownItem();
    return text + "NoEncrypt=" + GetItemField(item, "X-Nimbra-NoEncrypt") +
           " NoSign=" + GetItemField(item, "X-Nimbra-NoSign");
  }
};

TEST_F(OptionsBar, StartsFromTheSettingsAndTheMessage) {
  StoreAccount("ann@example.org");
  ConnectAddIn();
  const auto window = outlook.Open(outlook.NewMail());
  EXPECT_EQ(Options(*window), "Encrypt+ Sign-(disabled) NoEncrypt=False NoSign=True");
  const std::string action = R"( action="!<CorvessaPro_OL.Connect>")";
  EXPECT_EQ(desk::Describe(window->Bars()),
            "Corvessa Options position=1\n"
            "  \"Encrypt on send\" tip=\"Encrypt using Corvessa Professional for Outlook\" style=3 "
            "face=1087 down group" +
                action +
                "\n  \"Sign on send\" tip=\"Sign using Corvessa Professional for Outlook\" style=3 "
                "face=1088 disabled" +
                action + "\n");

  StoreAccount("ann@example.org", true);
  SetPreference("DisableOutgoingEncryption", 1);
  DisconnectAddIn();
  ConnectAddIn();
  EXPECT_EQ(Options(*outlook.Open(outlook.NewMail())),
            "Encrypt- Sign+ NoEncrypt=True NoSign=False");

  const auto reply = outlook.NewMail();
  EXPECT_EQ(platform::kInternetHeaders, "{00020386-0000-0000-C000-000000000046}");
  WriteHeaderFlag(reply, "Corvessa Encrypted Reply", true);
  EXPECT_EQ(Options(*outlook.Open(reply)), "Encrypt+ Sign+ NoEncrypt=False NoSign=False");
  // Only the word itself, blanks round it aside, is a yes.
  SetItemField(reply, "X-Nimbra-Corvessa-Encrypted-Reply", " TRUE ");
  EXPECT_TRUE(ReadHeaderFlag(reply, "Corvessa Encrypted Reply"));
  SetItemField(reply, "X-Nimbra-Corvessa-Encrypted-Reply", "yes");
  EXPECT_FALSE(ReadHeaderFlag(reply, "Corvessa Encrypted Reply"));

  const auto waiting = outlook.NewMail();
  waiting->MoveTo(desk::kOutbox);
  EXPECT_EQ(Options(*outlook.Open(waiting)), "Encrypt- Sign- NoEncrypt=True NoSign=True");

  outlook.SetWordMail(true);
  EXPECT_EQ(Options(*outlook.Open(outlook.NewMail())), "none");
}

TEST_F(OptionsBar, TogglesOnlyItsOwnMessageAndShowsWhatTheMessageSays) {
  StoreAccount("ann@example.org", true);
  ConnectAddIn();
  const auto one = outlook.Open(outlook.NewMail());
  const auto other = outlook.Open(outlook.NewMail());
  const std::string both = "Encrypt+ Sign+ NoEncrypt=False NoSign=False";
  outlook.Click(one->Bars(), "Encrypt on send");
  outlook.Click(one->Bars(), "Sign on send");
  EXPECT_EQ(Options(*one), "Encrypt- Sign- NoEncrypt=True NoSign=True");
  EXPECT_EQ(Options(*other), both);
  outlook.Click(one->Bars(), "Encrypt on send");
  outlook.Click(one->Bars(), "Sign on send");
  EXPECT_EQ(Options(*one), both);

  // A choice that cannot be kept must not be shown as made.
  outlook.Click(one->Bars(), "Encrypt on send");
  AllowError("MailItemNode::oCommandBarItemEncryptionOption_Click - ");
  faults.on_call = [](std::string_view call) {
    if (call == "SafeMailItem.SetFields") throw Error{5, "disk full"};
  };
  outlook.Click(one->Bars(), "Encrypt on send");
  faults.on_call = nullptr;
  EXPECT_EQ(Options(*one), "Encrypt- Sign+ NoEncrypt=True NoSign=False");
}

}  // namespace
}  // namespace corvessa::testing
