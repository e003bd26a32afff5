#include "message/encryption_failure.h"

#include "forms/frm_generic.h"
#include "forms/frm_no_keys_found.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {
namespace {

class EncryptionFailure : public AddInFixture {
 protected:
  EncryptionFailure() {
    using desk::RecipientKind;
    item->EditRecipients({{RecipientKind::kTo, "Bob", "bob@example.org", "", {}},
                          {RecipientKind::kCc, "No\u202Eone", "", "", {}},
                          {RecipientKind::kBcc, "Cy", "cy@example.org", "", {}}});
  }
  desk::ItemPtr item = outlook.NewMail();
};

TEST_F(EncryptionFailure, ListsTheRecipientsConcerned) {
  const struct {
    std::int32_t code;
    std::string heading;
    std::vector<std::string> rows;
    const char* button;
    std::int32_t answer;
  } cases[] = {
      {-14,
       "Corvessa Professional for Outlook was unable to resolve the following recipients to valid "
       "email addresses:",
       {"Noone"},
       "cmdYes",
       6},
      {-13,
       "The following recipients are not registered to receive secure email:",
       {"cy@example.org"},
       "cmdNo",
       7},
      {-13,
       "The following recipients are not registered to receive secure email:",
       {"cy@example.org"},
       nullptr,
       3},
  };
  for (const auto& c : cases) {
    scripted_engine.engine->Once("QueryKeyPair", {.status = 0});
    scripted_engine.engine->Once("QueryKeyPair", {.status = -13});
    scripted_engine.engine->Once("QueryKeyPair", {.status = -16});
    ui.Expect<frmNoKeysFound>("frmNoKeysFound", [&](frmNoKeysFound& form) {
      EXPECT_EQ(form.Label1.Caption(), c.heading);
      std::vector<std::string> rows;
      for (int i = 0; i < form.lstEmailAddr.RowCount(); ++i) {
        rows.push_back(form.lstEmailAddr.Row(i));
      }
      EXPECT_EQ(rows, c.rows) << c.code;
      if (c.button == nullptr) {
        form.PressCloseBox();
      } else {
        dynamic_cast<CommandButton*>(form.Find(c.button))->Press();
      }
    });
    EXPECT_EQ(ReportEncryptionFailure(c.code, item), c.answer);
  }
  EXPECT_EQ(LoadedForms().size(), 0U);
}

TEST_F(EncryptionFailure, AsksAboutEveryOtherFailure) {
  const std::string io_text =
      "An I/O error occurred while connecting to the key server.\r\n\r\n"
      "Continue sending this email without encryption?";
  const std::string other_text = "An unexpected error occurred during encryption:\r\n\r\n";
  const std::string question = "\r\n\r\nWould you like to send the message unencrypted?";
  const struct {
    std::int32_t code;
    std::string text;
    int button;
    std::int32_t answer;
  } cases[] = {
      {-8, io_text, 1, 6},
      {-8, io_text, 2, 7},
      {-8, io_text, 0, 3},
      {-3, other_text + "Error encountered in content. (-3)" + question, 1, 6},
      {5, other_text + "Unknown error encountered. ( 5)" + question, 2, 7},
  };
  for (const auto& c : cases) {
    ui.Expect<frmGeneric>("frmGeneric", [&](frmGeneric& form) {
      EXPECT_EQ(form.lblMessage.Caption(), c.text);
      if (c.button == 0) form.PressCloseBox();
      if (c.button == 1) form.cmdOK.Press();
      if (c.button == 2) form.cmdCancel.Press();
    });
    EXPECT_EQ(ReportEncryptionFailure(c.code, item), c.answer) << c.code;
  }
  EXPECT_EQ(ReportEncryptionFailure(0, item), 1);
  EXPECT_EQ(ReportEncryptionFailure(1000, item), 1);

  AllowError(":GetSafeRecipients - ");
  AllowError(":ReportEncryptionFailure - ");
  outlook.Redemption().installed = false;
  EXPECT_EQ(ReportEncryptionFailure(-14, item), 7);
}

}  // namespace
}  // namespace corvessa::testing
