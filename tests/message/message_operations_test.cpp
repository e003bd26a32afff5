#include "message/message_operations.h"

#include <gmock/gmock.h>

#include "base/text.h"
#include "crypto/crypto_operations.h"
#include "forms/dialogs.h"
#include "message/attachment_node.h"
#include "message/encryption_failure.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {
namespace {

using ::testing::ElementsAre;

TEST(Armour, IsFoundAtTheStartOfTheFirst72CharactersOnly) {
  const std::string marker = "-----BEGIN PGP MESSAGE-----";
  const std::string signed_marker = "-----BEGIN PGP SIGNED MESSAGE-----";
  for (const std::string& text : {marker, "  \r\n  \r\n" + marker + "\r\nVersion", marker + "x",
                                  std::string(500, ' ') + "\r\n" + marker}) {
    EXPECT_TRUE(IsPGPMessage(text)) << text;
    EXPECT_FALSE(IsPGPSignedMessage(text)) << text;
  }
  EXPECT_TRUE(IsPGPSignedMessage("   \r\n\r\n" + signed_marker + "\r\n"));
  for (const std::string& text :
       {std::string(), std::string("  \r\n "), "> " + marker, "\n" + marker, "\t" + marker,
        marker.substr(1), LCase(marker), "\xC2\xA0" + marker, "hello\r\n" + marker}) {
    EXPECT_FALSE(IsPGPMessage(text)) << text;
  }
  EXPECT_EQ(StripLeadingBlankLines("  \r\n  \r\n  a \r\n"), "a \r\n");
  EXPECT_EQ(StripLeadingBlankLines(" \r x"), "\r x");
}

TEST(Armour, IsNotAllOfATextThatSaysSomethingOutsideIt) {
  const std::string block = "-----BEGIN PGP MESSAGE-----\r\n\r\nx\r\n-----END PGP MESSAGE-----";
  const std::string signed_block =
      "-----BEGIN PGP SIGNED MESSAGE-----\n\n- -----END PGP SIGNATURE-----\n"
      "-----BEGIN PGP SIGNATURE-----\nx\n-----END PGP SIGNATURE-----";
  for (const std::string& armour : {block, signed_block}) {
    for (const char* blank : {"", " \t\r\n\r\n"}) EXPECT_FALSE(HoldsMoreThanArmour(armour + blank));
    for (const char* more : {"x", "\r\nx", "\rx", "\n\n-----BEGIN PGP MESSAGE-----"}) {
      EXPECT_TRUE(HoldsMoreThanArmour("  \r\n" + armour + more)) << more;
    }
    EXPECT_TRUE(HoldsMoreThanArmour(Replace(armour, "SAGE-----", "SAGE-----, I promise")));
  }
}

TEST(StatusText, WordsEveryStatus) {
  const auto words = [](std::int32_t status) {
    return DecryptStatusText(status) + " / " + SignStatusText(status, false) + " / " +
           SignStatusText(status, true);
  };
  EXPECT_EQ(words(0), "is encrypted / is digitally signed / has an invalid digital signature");
  EXPECT_EQ(words(1), "is not encrypted / has an invalid digital signature / is digitally signed");
  EXPECT_EQ(words(2), "failed decryption ( 2) / is not digitally signed / is not digitally signed");
  EXPECT_EQ(words(5),
            "failed decryption ( 5) / failed digital signature verification ( 5) / failed digital "
            "signature verification ( 5)");
  // A signer must not be able to turn the line round or to break it.
  EXPECT_EQ(SignStatusTextWithSigners(0, "a\xE2\x80\xAE\r\n@b"), "is digitally signed by a@b");
}

class MessageOperations : public AddInFixture {
 protected:
  desk::ItemPtr item = outlook.NewMail();
};

TEST_F(MessageOperations, FindAttachmentsOfOneNameWhateverItsCase) {
  const auto add = [&](const std::string& name) {
    item->AddAttachment({name, "any", outlook.Keep("x"), "", ""});
    return HasDuplicateFilenames(item);
  };
  EXPECT_FALSE(HasDuplicateFilenames(item));
  EXPECT_FALSE(add("Report.PDF"));
  EXPECT_FALSE(add("report.pdf.sig"));
  EXPECT_FALSE(add("\xC3\x84.txt"));
  EXPECT_TRUE(add("\xC3\xA4.TXT"));
}

TEST_F(MessageOperations, AFailureReadsAsNothingThere) {
  EXPECT_FALSE(IsOptionsBarPresent(item));
  const auto failing = WithFaults(item, faults);
  faults.on_call = [](std::string_view) { throw Error{5, "lost"}; };
  EXPECT_EQ(GetSenderName(failing), "");
  EXPECT_THROW(HasBlindCopies(failing), Error);
  EXPECT_EQ(GetSafeRecipients(failing), nullptr);
  EXPECT_FALSE(HasDuplicateFilenames(failing));
  EXPECT_FALSE(IsOptionsBarPresent(failing));
  faults.on_call = nullptr;
  EXPECT_THAT(Trace(),
              ElementsAre("Checking for encryption and signing options bar", "Does not exist (1)",
                          ":GetSenderName - lost", ":GetSafeRecipients - lost",
                          ":HasDuplicateFilenames - lost",
                          "Checking for encryption and signing options bar", "Does not exist (2)"));
  AllowError(":");
}

TEST_F(MessageOperations, AnEncryptionFailureListsTheRecipientsConcerned) {
  CreateCrypto();
  item->EditRecipients({{desk::RecipientKind::kTo, "Bob", "bob@example.org", "", {}},
                        {desk::RecipientKind::kCc, "No\u202Eone", "", "", {}},
                        {desk::RecipientKind::kBcc, "Cy", "cy@example.org", "", {}},
                        {desk::RecipientKind::kTo, "Di", "d;i@example.org", "", {}}});
  const struct {
    std::int32_t code;
    const char* button;
    std::int32_t answer;
  } cases[] = {{-14, "cmdYes", 6}, {-13, "cmdNo", 7}, {-13, "", 3}};
  for (const auto& c : cases) {
    for (const int status : {0, -13, -16}) {
      scripted_engine.engine->Once("QueryKeyPair", {.status = status});
    }
    ui.ExpectForm("frmNoKeysFound", [&](Form& form) {
      ExpectGoldenForm(c.code == -14 ? "frmNoKeysFound_heading" : "frmNoKeysFound", form);
      ui.Press(c.button)(form);
    });
    EXPECT_EQ(ReportEncryptionFailure(c.code, item), c.answer);
  }
  EXPECT_THAT(LoadedFormNames(), ElementsAre());
}

TEST_F(MessageOperations, AnyOtherEncryptionFailureIsAskedAbout) {
  const std::string other_text = "An unexpected error occurred during encryption:\r\n\r\n";
  const std::string question = "\r\n\r\nWould you like to send the message unencrypted?";
  const struct {
    std::int32_t code;
    std::string text;
    const char* button;
    std::int32_t answer;
  } cases[] = {
      {-8,
       "An I/O error occurred while connecting to the key server.\r\n\r\n"
       "Continue sending this email without encryption?",
       "", 3},
      {-3, other_text + "Error encountered in content. (-3)" + question, "cmdOK", 6},
      {5, other_text + "Unknown error encountered. ( 5)" + question, "cmdCancel", 7},
  };
  for (const auto& c : cases) {
    ui.Expect<frmGeneric>("frmGeneric", [&](frmGeneric& form) {
      EXPECT_EQ(form.lblMessage.Caption(), c.text);
      EXPECT_TRUE(form.cmdCancel.IsDefault() && !form.cmdOK.IsDefault()) << "Enter agrees";
      ui.Press(c.button)(form);
    });
    EXPECT_EQ(ReportEncryptionFailure(c.code, item), c.answer) << c.code;
  }
  EXPECT_EQ(ReportEncryptionFailure(0, item), 1);
  EXPECT_EQ(ReportEncryptionFailure(1000, item), 1);

  AllowError(":GetSafeRecipients - ");
  AllowError(":ReportEncryptionFailure - ");
  outlook.Redemption().installed = false;
  ui.ExpectErrorBox("The message was not sent.\r\n\r\nIt could not be encrypted.");
  EXPECT_EQ(ReportEncryptionFailure(-14, item), 7);
}

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
  ExpectGolden("options_bar", desk::Describe(window->Bars()));

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
  FailCalls("SafeMailItem.SetFields");
  outlook.Click(one->Bars(), "Encrypt on send");
  faults.on_call = nullptr;
  EXPECT_EQ(Options(*one), "Encrypt- Sign+ NoEncrypt=True NoSign=False");
}

}  // namespace
}  // namespace corvessa::testing
