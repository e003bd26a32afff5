#include <algorithm>
#include <functional>

#include "accounts/nimbra_account.h"
#include "base/text.h"
#include "crypto/frm_timer.h"
#include "crypto/temp_files.h"
#include "forms/dialogs.h"
#include "sending.h"
#include "settings/settings.h"

namespace corvessa::testing {
namespace {

constexpr std::string_view kOldSignature =
    "-----BEGIN PGP SIGNATURE-----\n\niA0EAAEIAAAAABI0AAEB\n-----END PGP SIGNATURE-----\n";
constexpr std::string_view kHTML = "<html><p>canary-5e11</p></html>";

bool HoldsCanary(const desk::ItemData& data) {
  std::string whole = *data.html + *data.body;
  for (const std::string& attachment : Attachments(data)) whole += attachment;
  return whole.find(kCanary) != std::string::npos;
}

/// Lets each platform and engine call of a send fail once, from the first to the last: every second
/// one from the parameter on, because each run unlocks a key, which is slow on purpose.
class SendFaults : public Sending, public ::testing::WithParamInterface<std::size_t> {
 protected:
  SendFaults() {
    AllowError("");
    ui.AllowEverything();
    g_lPassphraseMemory = kForgetAfterEachUse;
  }

  /// `check` sees what was sent, or nothing, and whether signing and encrypting had begun.
  using Check = std::function<void(const std::optional<desk::ItemData>&, bool begun)>;
  void Sweep(const Check& check) {
    std::string failed = "none yet";
    for (std::size_t n = GetParam(); !failed.empty() && !HasFailure(); n += 2) {
      const auto item = Draft();
      item->EditHTMLBody(kHTML);
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
      ExpectTrueFacts(sent);
      const auto trace = Trace();
      check(sent,
            std::ranges::find(trace, "m_oApplication_ItemSend: Sending original") != trace.end());
      if (sent) {
        EXPECT_EQ(sent->attachments.size(), before.attachments.size());
      } else {
        const desk::ItemData& now = item->Data();
        EXPECT_EQ(*now.body, *before.body);
        EXPECT_EQ(*now.html, *before.html);
        EXPECT_EQ(now.recipients, before.recipients);
        EXPECT_EQ(Attachments(now), Attachments(before));
      }
      ExpectNothingLeft();
      if (item->Window()) outlook.Close(item->Window());
    }
  }

  /// A host lets a message go, or not, by what it was told.
  void ExpectTrueFacts(const std::optional<desk::ItemData>& sent) {
    const auto told = observer.Take();
    ASSERT_FALSE(told.empty());
    EXPECT_EQ(told.back(), sent ? "leaves" : "cancelled");
    if (!sent) return;
    const auto was_told = [&](std::string_view start) {
      return std::ranges::any_of(told,
                                 [&](const std::string& line) { return line.starts_with(start); });
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
};

INSTANTIATE_TEST_SUITE_P(, SendFaults, ::testing::Values(1, 2));

void ExpectWholeAndEncrypted(const desk::ItemData& sent) {
  EXPECT_FALSE(HoldsCanary(sent));
  EXPECT_TRUE(sent.body->starts_with("-----BEGIN PGP MESSAGE-----"));
  std::vector<std::string> names;
  for (const auto& attachment : sent.attachments) names.push_back(attachment->file_name);
  EXPECT_EQ(names, (std::vector<std::string>{"report.txt", "report.txt.sig"}));
}

TEST_P(SendFaults, WhatIsToBeEncryptedLeavesWholeOrNotAtAll) {
  LogInWith("secret");
  int sent_early = 0;
  Sweep([&](const std::optional<desk::ItemData>& sent, bool begun) {
    // An error before signing and encrypting lets Outlook send what it has.
    if (sent && !begun) ++sent_early;
    if (sent && begun) ExpectWholeAndEncrypted(*sent);
  });
  EXPECT_GT(sent_early, 0);
}

TEST_P(SendFaults, WhatIsNotToBeSentStaysAsItWas) {
  Sweep(
      [](const std::optional<desk::ItemData>& sent, bool begun) { EXPECT_TRUE(!sent || !begun); });
}

TEST_P(SendFaults, WhatIsSentByConsentIsWholeWithoutTheStepThatFailed) {
  LogInWith("secret");
  ui.AllowEverything(platform::kAnswerOk);
  ui.AllowForm("frmGeneric", [](Form& form) { dynamic_cast<frmGeneric&>(form).cmdOK.Press(); });
  ui.AllowForm("frmNoKeysFound",
               [](Form& form) { dynamic_cast<frmNoKeysFound&>(form).cmdYes.Press(); });
  int sent_in_clear = 0;
  Sweep([&](const std::optional<desk::ItemData>& sent, bool begun) {
    if (!sent || !begun) return;
    if (!HoldsCanary(*sent)) return ExpectWholeAndEncrypted(*sent);
    ++sent_in_clear;
    const bool is_signed = sent->body->starts_with("-----BEGIN PGP SIGNED MESSAGE-----");
    EXPECT_EQ(sent->body->find("PGP") != std::string::npos, is_signed);
    const auto attachments = Attachments(*sent);
    ASSERT_EQ(attachments.size(), 2U);
    EXPECT_EQ(attachments[0], "report.txt: canary-5e11 report");
    EXPECT_EQ(attachments[1] != "report.txt.sig: " + std::string(kOldSignature), is_signed);
  });
  EXPECT_GT(sent_in_clear, 0);
}

TEST_F(Sending, AttachmentsThatCannotBeReplacedStopTheSendAndNoneIsLost) {
  LogInWith("secret");
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
    const auto item = Draft();
    for (const char* name : {"a.txt", "b.txt", "c.txt"}) Attach(item, name, "canary-5e11");
    const desk::ItemData before = item->Data();
    int failed = 0;
    faults.on_call = [&](std::string_view call) {
      if (call != c.call || item->Data().attachments.size() != c.at_count) return;
      if (failed++ < c.times) Raise(kPathFileAccess);
    };
    ui.ExpectErrorBox(not_sent + c.reason);
    EXPECT_EQ(outlook.Send(item), std::nullopt) << c.call;
    faults.on_call = nullptr;
    EXPECT_EQ(Attachments(item->Data()), Attachments(before)) << c.call;
  }
}

TEST_F(Sending, AHundredAndFiftyAttachmentsAreAllSignedAndEncrypted) {
  LogInWith("secret");
  const auto item = Draft();
  for (int i = 0; i < 150; ++i) Attach(item, Decimal(i) + ".txt", "canary-5e11");
  const auto sent = outlook.Send(item);
  ASSERT_TRUE(sent);
  EXPECT_EQ(sent->attachments.size(), 2 * 150U);
  for (const auto& attachment : sent->attachments) {
    EXPECT_EQ(attachment->content->Bytes().find(kCanary), std::string::npos);
  }
}

}  // namespace
}  // namespace corvessa::testing
