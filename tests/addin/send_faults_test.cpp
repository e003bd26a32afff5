#include <algorithm>
#include <functional>

#include "accounts/nimbra_account.h"
#include "base/text.h"
#include "crypto/frm_timer.h"
#include "crypto/temp_files.h"
#include "forms/dialogs.h"
#include "settings/settings.h"
#include "support/mail_fixture.h"

namespace corvessa::testing {
namespace {

constexpr std::string_view kCanary = "canary-5e11";
constexpr std::string_view kOldSignature =
    "-----BEGIN PGP SIGNATURE-----\n\niA0EAAEIAAAAABI0AAEB\n-----END PGP SIGNATURE-----\n";

bool HoldsCanary(const desk::ItemData& data) {
  std::string whole = *data.html + *data.body;
  for (const auto& [name, content] : AttachmentsOf(data)) whole += content;
  return whole.find(kCanary) != std::string::npos;
}

/// Lets each platform and engine call of a send fail once, from the first to the last: every second
/// one from the parameter on, because each run unlocks a key, which is slow on purpose.
class SendFaults : public MailFixture, public ::testing::WithParamInterface<std::size_t> {
 protected:
  SendFaults() {
    AllowError("");
    ConnectAddIn();
    ui.AllowEverything();
    g_lPassphraseMemory = kForgetAfterEachUse;
  }

  /// `check` sees what was sent once signing and encrypting had begun. An error before that lets
  /// Outlook send what it has. Gives how many of those there were.
  using Check = std::function<void(const desk::ItemData&)>;
  int Sweep(const Check& check) {
    int sent_early = 0;
    std::string failed = "none yet";
    for (std::size_t n = GetParam(); !failed.empty() && !HasFailure(); n += 2) {
      const auto item = Draft("");
      item->EditHTMLBody("<html><p>canary-5e11</p></html>");
      Attach(item, "report.txt", "canary-5e11 report");
      Attach(item, "report.txt.sig", kOldSignature);
      ClearTrace();
      const desk::ItemData before = item->Data();
      observer.Take();
      faults.FailAt(n);
      const auto sent = outlook.Send(item);
      failed = faults.Failed();
      SCOPED_TRACE(std::to_string(n) + " " + failed);
      faults.FailAt(0);
      if (sent) {
        EXPECT_EQ(sent->attachments.size(), before.attachments.size());
        EXPECT_EQ(sent->attachments[0]->file_name, "report.txt");
        EXPECT_EQ(sent->attachments[1]->file_name, "report.txt.sig");
        const auto trace = Trace();
        if (std::ranges::count(trace, "m_oApplication_ItemSend: Sending original") > 0) {
          check(*sent);
        } else {
          ++sent_early;
        }
      } else {
        const desk::ItemData& now = item->Data();
        EXPECT_EQ(*now.body, *before.body);
        EXPECT_EQ(*now.html, *before.html);
        EXPECT_EQ(now.recipients, before.recipients);
        EXPECT_EQ(AttachmentsOf(now), AttachmentsOf(before));
      }
      ExpectTrueFacts(sent);
      ExpectNothingLeft();
      if (item->Window()) outlook.Close(item->Window());
    }
    return sent_early;
  }

  /// A host lets a message go, or not, by what it was told.
  void ExpectTrueFacts(const std::optional<desk::ItemData>& sent) {
    const auto told = observer.Take();
    ASSERT_FALSE(told.empty());
    EXPECT_EQ(told.back(), sent ? "leaves" : "cancelled");
    if (!sent) return;
    const auto was_told = [&](std::string_view start) {
      return std::ranges::any_of(told, [&](const auto& line) { return line.starts_with(start); });
    };
    EXPECT_NE(was_told("encrypted for "), HoldsCanary(*sent));
    if (HoldsCanary(*sent)) {
      EXPECT_EQ(was_told("signed by "),
                sent->body->starts_with("-----BEGIN PGP SIGNED MESSAGE-----"));
    }
  }

  void ExpectNothingLeft() {
    for (const std::string& file : TemporaryFiles()) {
      EXPECT_TRUE(IsQueuedForDeletion("c:\\Temp\\" + Replace(file, "/", "\\"))) << file;
    }
    LoadedFormsOf<frmTimer>().front()->DeleteTemporaryFiles();
    EXPECT_EQ(TemporaryFiles(), std::vector<std::string>{});
    EXPECT_EQ(FilesHolding(kCanary), std::vector<std::string>{});
    g_colTempFiles.clear();
    for (const NimbraAccountPtr& account : g_colAccounts) {
      EXPECT_TRUE(account->m_sPassword.IsEmpty());
    }
  }

  static void ExpectWholeAndEncrypted(const desk::ItemData& sent) {
    EXPECT_FALSE(HoldsCanary(sent));
    EXPECT_TRUE(sent.body->starts_with("-----BEGIN PGP MESSAGE-----"));
  }
};

INSTANTIATE_TEST_SUITE_P(, SendFaults, ::testing::Values(1, 2));

TEST_P(SendFaults, WhatIsToBeEncryptedLeavesWholeOrNotAtAll) {
  LogInWith(kPassphrase);
  EXPECT_GT(Sweep(ExpectWholeAndEncrypted), 0);
}

TEST_P(SendFaults, WhatIsNotToBeSentStaysAsItWas) {
  Sweep([](const desk::ItemData&) { ADD_FAILURE() << "sent"; });
}

TEST_P(SendFaults, WhatIsSentByConsentIsWholeWithoutTheStepThatFailed) {
  LogInWith(kPassphrase);
  ui.AllowEverything(platform::kAnswerOk);
  ui.AllowForm("frmGeneric", ui.Press("cmdOK"));
  ui.AllowForm("frmNoKeysFound", ui.Press("cmdYes"));
  int sent_in_clear = 0;
  Sweep([&](const desk::ItemData& sent) {
    if (!HoldsCanary(sent)) return ExpectWholeAndEncrypted(sent);
    ++sent_in_clear;
    const bool is_signed = sent.body->starts_with("-----BEGIN PGP SIGNED MESSAGE-----");
    EXPECT_EQ(sent.body->find("PGP") != std::string::npos, is_signed);
    EXPECT_EQ(sent.attachments[0]->content->Bytes(), "canary-5e11 report");
    EXPECT_EQ(sent.attachments[1]->content->Bytes() != kOldSignature, is_signed);
  });
  EXPECT_GT(sent_in_clear, 0);
}

TEST_F(MailFixture, AttachmentsThatCannotBeReplacedStopTheSendAndNoneIsLost) {
  ConnectAddIn();
  LogInWith(kPassphrase);
  AllowError("");
  const std::string not_sent = "The message was not sent.\r\n\r\n";
  // Two attempts, in each of which every attachment after the first one fails.
  const struct {
    std::string_view call;
    std::size_t at_count;
    int times;
    std::string reason;
  } cases[] = {
      {"Attachments.Remove", 2, 9,
       "Its attachments could not be removed for the encrypted or signed ones."},
      {"Attachments.Add", 1, 10, "Its encrypted or signed attachments could not be attached."}};
  for (const auto& c : cases) {
    const auto item = Draft("canary-5e11");
    for (const char* name : {"a.txt", "b.txt", "c.txt"}) Attach(item, name, "canary-5e11");
    const NamedFiles before = AttachmentsOf(*item);
    int failed = 0;
    faults.on_call = [&](std::string_view call) {
      if (call != c.call || item->Data().attachments.size() != c.at_count) return;
      if (failed++ < c.times) Raise(kPathFileAccess);
    };
    ui.ExpectErrorBox(not_sent + c.reason);
    EXPECT_EQ(outlook.Send(item), std::nullopt) << c.call;
    faults.on_call = nullptr;
    EXPECT_EQ(AttachmentsOf(*item), before) << c.call;
  }
}

TEST_F(MailFixture, AHundredAndFiftyAttachmentsAreAllSignedAndEncrypted) {
  ConnectAddIn();
  LogInWith(kPassphrase);
  const auto item = Draft("canary-5e11");
  for (int i = 0; i < 150; ++i) Attach(item, Decimal(i) + ".txt", "canary-5e11");
  const auto sent = outlook.Send(item);
  ASSERT_TRUE(sent);
  EXPECT_EQ(sent->attachments.size(), 2 * 150U);
  EXPECT_FALSE(HoldsCanary(*sent));
}

}  // namespace
}  // namespace corvessa::testing
