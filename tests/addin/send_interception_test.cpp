#include <fstream>
#include <functional>

#include "accounts/frm_login.h"
#include "accounts/nimbra_account.h"
#include "accounts/settings.h"
#include "addin/temp_files.h"
#include "base/text.h"
#include "forms/frm_generic.h"
#include "forms/frm_no_keys_found.h"
#include "forms/frm_send_from_external_application.h"
#include "sending.h"
#include "support/gpg.h"

namespace corvessa::testing {
namespace {

constexpr std::string_view kMessageArmour = "-----BEGIN PGP MESSAGE-----";
constexpr std::string_view kSignedArmour = "-----BEGIN PGP SIGNED MESSAGE-----";

class SendInterception : public Sending {
 protected:
  using Sending::Sending;
  void TearDown() override {
    EXPECT_EQ(FilesHolding(kCanary), std::vector<std::string>{});
    EXPECT_EQ(TemporaryFiles(), std::vector<std::string>{});
    EXPECT_EQ(g_colTempFiles, std::vector<std::string>{});
    Sending::TearDown();
  }
  /// What Bob's and Ann's keys let gpg see of a text; "+" for a good signature before it.
  std::string ReadByGpg(std::string_view text) {
    if (!gpg_knows_keys_) {
      std::string keys;
      std::string more;
      Keys().ExportSecretKeys("bob@example.org", keys);
      Keys().ExportPublicKeys("ann@example.org", more);
      gpg.Import(keys, "secret");
      gpg.Import(more, "secret");
      gpg_knows_keys_ = true;
    }
    std::string layers;
    std::string inner(text);
    while (inner.starts_with("-----BEGIN PGP")) {
      const Gpg::Outcome outcome = gpg.Read(inner);
      if (outcome.exit_code != 0) return outcome.messages;
      if (outcome.messages.find("GOODSIG") != std::string::npos) layers += "+";
      inner = outcome.output;
    }
    // The line end before a signature is not part of what was signed, but gpg shows it.
    if (!layers.empty()) inner.resize(inner.size() - kCrLf.size());
    return layers + inner;
  }
  /// What the add-in shows when the message is received and opened.
  desk::ItemData ReadByTheAddIn(desk::ItemData received) {
    received.sender = {"Ann", "ann@example.org"};
    received.folder = desk::kInbox;
    const auto item = outlook.AddReceived(std::move(received));
    outlook.Open(item);
    desk::ItemData shown = item->Data();
    outlook.Close(item->Window());
    EXPECT_EQ(item->SavesByAddIn(), 0);
    return shown;
  }
  Gpg gpg;

 private:
  bool gpg_knows_keys_ = false;
};

TEST_F(SendInterception, EveryChoiceIsReadByGpgAndByTheAddIn) {
  LogInWith("secret");
  for (const bool encrypt : {true, false}) {
    for (const bool sign : {true, false}) {
      SCOPED_TRACE(std::string(encrypt ? "encrypted " : "") + (sign ? "signed" : ""));
      const auto item = Draft();
      Attach(item, "report.txt", "canary-5e11 report");
      Attach(item, "b.sig", "canary-5e11 no signature");
      Choose(item, encrypt, sign);
      const auto sent = outlook.Send(item);
      ASSERT_TRUE(sent);
      EXPECT_EQ(sent->body->find(kCanary) == std::string::npos, encrypt);
      EXPECT_EQ(sent->body->starts_with(encrypt ? kMessageArmour : kSignedArmour), encrypt || sign);
      EXPECT_EQ(ReadByGpg(*sent->body), (sign ? "+" : "") + std::string(kText));
      ASSERT_EQ(sent->attachments.size(), sign ? 4U : 2U);
      for (const std::string& attachment : Attachments(*sent)) {
        EXPECT_TRUE(!encrypt || attachment.find(kCanary) == std::string::npos) << attachment;
      }
      const desk::ItemData shown = ReadByTheAddIn(*sent);
      EXPECT_EQ(*shown.body, kText);
      EXPECT_EQ(Attachments(shown)[0], "report.txt: canary-5e11 report");
      EXPECT_EQ(Attachments(shown)[1], "b.sig: canary-5e11 no signature");
      if (sign) {
        const std::string data = gpg.Write("report.txt", "canary-5e11 report");
        const std::string signature =
            gpg.Write("report.txt.sig", desk::ReadAll(*sent->attachments[2]->content));
        EXPECT_EQ(sent->attachments[2]->file_name, "report.txt.sig");
        EXPECT_EQ(gpg.Run({"--verify", signature, data}).exit_code, 0);
      }
    }
  }
}

class SendFromEachOutlook : public SendInterception,
                            public ::testing::WithParamInterface<const char*> {
 protected:
  SendFromEachOutlook() : SendInterception(GetParam()) {}
};
INSTANTIATE_TEST_SUITE_P(, SendFromEachOutlook,
                         ::testing::Values("9.0.0.2711", "10.0.0.2627", "11.0.0.5510"));

TEST_P(SendFromEachOutlook, HTMLBecomesPlainTextAndComesBackWhenNothingIsSent) {
  const std::string html = "<html><b>canary-5e11</b></html>";
  LogInWith("secret");
  const auto item = Draft();
  item->EditHTMLBody(html);
  item->EditRecipients({{desk::RecipientKind::kTo, "Dan", "dan@example.org", "", {}}});
  ui.Expect<frmNoKeysFound>("frmNoKeysFound", [](frmNoKeysFound& form) { form.cmdNo.Press(); });
  EXPECT_FALSE(outlook.Send(item));
  EXPECT_EQ(*item->Data().html, html);

  item->EditRecipients({{desk::RecipientKind::kTo, "Bob", "bob@example.org", "", {}}});
  const auto sent = outlook.Send(item);
  ASSERT_TRUE(sent);
  EXPECT_EQ(*sent->html, "");
  EXPECT_EQ(ReadByGpg(*sent->body), "+canary-5e11");
}

/// An answer to what stands in the way of sending, and what then leaves.
struct Obstacle {
  const char* what;
  /// Prepares the draft and the user's answers; true for those that let it go.
  std::function<void(bool)> prepare;
  /// The layers that gpg finds around the text once it is let go.
  std::string_view sent_as;
};

TEST_F(SendInterception, TheUserDecidesAboutEachObstacle) {
  desk::ItemPtr item;
  const auto answer_keys_form = [&](bool go) {
    LogInWith("secret");
    ui.Expect<frmNoKeysFound>("frmNoKeysFound", [go](frmNoKeysFound& form) {
      if (go) {
        form.cmdYes.Press();
      } else {
        form.PressCloseBox();
      }
    });
  };
  const auto recipient = [&](const char* name, const char* address) {
    item->EditRecipients({{desk::RecipientKind::kTo, name, address, "", {}}});
  };
  const auto unsigned_box = [&](bool go) {
    ui.ExpectBox("Failed to sign email.  Send without signature?", go ? 1 : 2);
  };
  const std::string adk_question =
      "Encrypted emails sent to 'example.org' email addresses will also be encrypted for:\r\n\r\n"
      "archive@example.org";
  const Obstacle obstacles[] = {
      {"three wrong passphrases",
       [&](bool go) {
         LogInWith("wrong");
         unsigned_box(go);
       },
       ""},
      {"login cancelled",
       [&](bool go) {
         ui.Expect<frmLogin>("frmLogin", [](frmLogin& form) { form.PressCloseBox(); });
         unsigned_box(go);
       },
       ""},
      {"no key",
       [&](bool go) {
         recipient("Dan", "dan@example.org");
         answer_keys_form(go);
       },
       "+"},
      {"no address",
       [&](bool go) {
         recipient("Nobody", "");
         answer_keys_form(go);
       },
       "+"},
      {"same names",
       [&](bool go) {
         LogInWith("secret");
         Attach(item, "B.TXT", "canary-5e11 2");
         ui.ExpectBox(
             "The email you are sending contains multiple attachments with the  same filename.\r\n"
             "Corvessa Professional for Outlook may encounter errors when decrypting these "
             "files.\r\n\r\nContinue sending this email?",
             go ? 1 : 2);
       },
       "+"},
      {"additional decryption keys",
       [&](bool go) {
         LogInWith("secret");
         g_bADKEnabled = true;
         ui.ExpectBox(adk_question, go ? 1 : 2);
       },
       "+"},
  };
  engine::KeyInfo archive;
  Keys().GenerateKey("", "archive@example.org", "secret", archive);
  std::ofstream(profile / "adk.txt") << "example.org: archive@example.org\n";
  g_lPassphraseMemory = kForgetAfterEachUse;
  for (const Obstacle& obstacle : obstacles) {
    for (const bool go : {false, true}) {
      SCOPED_TRACE(std::string(obstacle.what) + (go ? ", go on" : ", stop"));
      g_bADKEnabled = false;
      item = Draft();
      Attach(item, "b.txt", "canary-5e11 1");
      obstacle.prepare(go);
      const auto before = Attachments(item->Data());
      const auto sent = outlook.Send(item);
      ASSERT_EQ(sent.has_value(), go);
      for (const NimbraAccountPtr& account : g_colAccounts) {
        EXPECT_TRUE(account->m_sPassword.IsEmpty());
        EXPECT_FALSE(account->GetAuthenticated());
      }
      if (!go) {
        EXPECT_EQ(*item->Data().body, kText);
        EXPECT_EQ(Attachments(item->Data()), before);
        outlook.Close(item->Window());
        continue;
      }
      EXPECT_EQ(ReadByGpg(*sent->body), std::string(obstacle.sent_as) + std::string(kText));
      EXPECT_EQ(sent->body->starts_with(kMessageArmour), sent->recipients[0].name == "Bob");
    }
  }
}

}  // namespace
}  // namespace corvessa::testing
