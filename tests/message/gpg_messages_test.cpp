#include "base/text.h"
#include "support/gpg.h"
#include "support/reading_fixture.h"

namespace corvessa::testing {
namespace {

class GpgMessages : public ReadingFixture {
 protected:
  void SetUp() override {
    ReadingFixture::SetUp();
    std::string annes_key;
    std::string bobs_key;
    ASSERT_EQ(Keys().ExportPublicKeys(kAnn, annes_key), 0);
    ASSERT_EQ(Keys().ExportSecretKeys(kBob, bobs_key), 0);
    gpg_.Import(annes_key);
    gpg_.Import(bobs_key, kBobsPassphrase);
    ConnectAddIn();
  }

  /// What gpg makes of the content, as a mail program puts it into a body.
  std::string MadeBody(const std::string& arguments, std::string_view content) {
    return Replace(gpg_.Make(arguments, content), "\n", kCrLf);
  }

  std::string BarOf(const desk::ItemPtr& item) {
    const auto window = outlook.Open(item);
    std::string captions;
    for (const auto& button : window->Bars().Find("Corvessa Status")->Buttons()) {
      captions += button->Look().tooltip + "; ";
    }
    return captions;
  }

  Gpg gpg_;
};

TEST_F(GpgMessages, OpenWithTheirAttachments) {
  const std::string text = "- from dash\r\nFrom me, gr\xC3\xBC\xC3\x9F\x65 \r\n\r\nlast";
  const std::string signed_text =
      MadeBody("--clearsign -u bob@example.com", Replace(text, kCrLf, "\n"));
  const std::string report(100'000, '\x80');
  const auto item =
      Received(MadeBody("--armor --encrypt -r ann@example.org", signed_text),
               {{"report.bin", gpg_.Make("--encrypt -r ann@example.org", report)},
                {"report.bin.sig", gpg_.Make("--detach-sign -u bob@example.com", report)},
                {"list.txt", gpg_.Make("--armor --encrypt -r ann@example.org", "eggs")},
                {"list.txt.sig", gpg_.Make("--armor --detach-sign -u bob@example.com", "milk")}});
  ExpectLogin(kAnnsPassphrase);
  EXPECT_EQ(BarOf(item),
            "Message is encrypted; Message is digitally signed by bob@example.com; "
            "Show original message; ");
  // Trailing blanks are no part of what a clear signature covers, and neither is the last line end.
  EXPECT_EQ(Trim(Replace(*item->Data().body, " \r\n", kCrLf)), Replace(text, " \r\n", kCrLf));
  EXPECT_EQ(AttachmentsOf(*item)[0].second, report);
  EXPECT_EQ(AttachmentsOf(*item)[2].second, "eggs");

  ui.AllowForm("frmMessageStatus");
  outlook.Click(item->Window()->Bars(), "Show original message");
  EXPECT_NE(LoadedForms().back()->Dump().find(
                R"({"report.bin is digitally signed by bob@example.com", )"
                R"("report.bin.sig is digitally signed by bob@example.com", )"
                R"("list.txt has an invalid digital signature", )"
                R"("list.txt.sig has an invalid digital signature"})"),
            std::string::npos)
      << LoadedForms().back()->Dump();

  const auto signed_only = Received(signed_text);
  EXPECT_EQ(BarOf(signed_only),
            "Message is not encrypted; Message is digitally signed by bob@example.com; "
            "Show original message; ");
}

}  // namespace
}  // namespace corvessa::testing
