#include "message/cdo_addresses.h"

#include <algorithm>

#include "forms/dialogs.h"
#include "message/message_operations.h"
#include "platform/redemption.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {
namespace {

class Addresses : public AddInFixture {
 protected:
  Addresses() {
    outlook.AddressLists().AddList({
        {"broken", "broken@example.org", "1", "", Error{-5, "no such entry"}},
        {"Bob Example", "/o=Ex/cn=Bob", "2", "no address", {}},
        {"bob", "", "3", "", {}},
    });
    outlook.AddressLists().AddList({
        {"bob", " Bob@Example.org ", "4", "", {}},
        {"Cy", "/O=Ex/cn=Cy", "5", "Cy@Example.org", {}},
        {"Bob Example", "other@example.org", "6", "", {}},
    });
  }
  std::string Resolve(desk::RecipientData recipient) {
    const auto item = outlook.NewMail();
    item->EditRecipients({std::move(recipient)});
    return CDO_Addresses::GetRealAddress(*GetSafeRecipients(item)->Item(1));
  }
};

TEST_F(Addresses, ResolveByEachWayThereIs) {
  using desk::RecipientKind;
  EXPECT_EQ(Resolve({RecipientKind::kTo, "Bob", "Bob@Example.ORG", "", {}}), "bob@example.org");
  EXPECT_EQ(outlook.Cdo().SessionsCreated(), 0);
  const struct {
    desk::RecipientData recipient;
    std::string address;
  } cases[] = {
      {{RecipientKind::kTo, "x", "bob", "", {}}, "bob@example.org"},
      {{RecipientKind::kCc, "x", "/o=Ex/cn=Cy", "5", {}}, "cy@example.org"},
      {{RecipientKind::kTo, "x", "", "", "/O=EX/CN=CY"}, "cy@example.org"},
      {{RecipientKind::kTo, "x", "/o=ex/cn=unlisted", "5", {}}, "cy@example.org"},
      {{RecipientKind::kBcc, "x", "/o=Ex/cn=Bob", "2", {}}, ""},
      {{RecipientKind::kTo, "x", "", "", "Bob Example"}, "other@example.org"},
      {{RecipientKind::kTo, "x", "", "", "bob example"}, ""},
      {{RecipientKind::kTo, "x", "", "", "Zoe@Example.org "}, "zoe@example.org"},
      {{RecipientKind::kTo, "x", "", "", {}}, ""},
      {{RecipientKind::kTo, "x", "nobody", "", {}}, ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Resolve(c.recipient), c.address)
        << c.recipient.address << "|" << c.recipient.entry_address.value_or("");
  }
  EXPECT_EQ(outlook.Cdo().Logons(),
            (std::vector<desk::CdoModel::LogonCall>{{"", "", false, false, 0}}));
}

TEST_F(Addresses, TraceEveryStepOfTheSearch) {
  EXPECT_EQ(platform::kSmtpAddressTag, 972947486);
  using desk::RecipientKind;
  EXPECT_EQ(Resolve({RecipientKind::kTo, "x", "", "", "/O=ex/cn=cy"}), "cy@example.org");
  EXPECT_EQ(Resolve({RecipientKind::kTo, "x", "/o=ex/cn=unlisted", "5", {}}), "cy@example.org");
  EXPECT_EQ(Resolve({RecipientKind::kTo, "x", "nobody", "", {}}), "");
  EXPECT_EQ(Resolve({RecipientKind::kTo, "x", "", "", {}}), "");
  ExpectGolden("trace_of_address_search", Trace());
}

TEST_F(Addresses, TraceTheNameOfAnEntryWhoseAddressCannotBeRead) {
  FailCalls("AddressEntry.Address", {-5, "no address"});
  std::string found;
  EXPECT_FALSE(CDO_Addresses::SearchAddressBooks("bob", found));
  faults.on_call = nullptr;
  const std::vector<std::string> trace = Trace();
  const auto name = std::ranges::find(trace, "oAddressEntry.Name=bob");
  ASSERT_NE(name, trace.end());
  EXPECT_EQ(*std::next(name), "Ignored error -5 no address");
}

TEST_F(Addresses, TellOnceThatCDOIsMissing) {
  outlook.Cdo().installed = false;
  AllowError("GetMAPISession - Error encountered: 429 ");
  CDO_Addresses::g_bWarnAboutCDO = true;
  std::string told;
  ui.Expect<frmGeneric>("frmGeneric", [&](frmGeneric& form) {
    told = form.lblMessage.Caption();
    form.PressCloseBox();
  });
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(Resolve({desk::RecipientKind::kTo, "x", "/o=Ex/cn=Cy", "5", {}}), "");
  }
  ExpectGolden("cdo_is_missing", told);
  ExpectGolden("trace_without_cdo", Trace());

  outlook.Cdo().installed = true;
  EXPECT_NE(CDO_Addresses::GetMAPISession(), nullptr);
  EXPECT_TRUE(CDO_Addresses::g_bWarnAboutCDO);
}

}  // namespace
}  // namespace corvessa::testing
