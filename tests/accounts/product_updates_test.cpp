#include "accounts/product_updates.h"

#include <gmock/gmock.h>

#include "accounts/frm_manage_user_keys.h"
#include "base/text.h"
#include "desk/profile/system_services.h"
#include "support/addin_fixture.h"
#include "support/http_server.h"

namespace corvessa::testing {
namespace {

using ::testing::ElementsAre;

constexpr char kNone[] = "No product updates are available at this time.";

std::string Page(const std::string& version, const std::string& more = "") {
  const std::size_t minor = version.find('.');
  const std::size_t revision = version.find('.', minor + 1);
  return "<update>\r\n<major>" + version.substr(0, minor) + "</major>\r\n<minor>" +
         version.substr(minor + 1, revision - minor - 1) + "</minor>\r\n<revision>" +
         version.substr(revision + 1) + "</revision>\r\n" + more + "</update>";
}

/// The running version is 1.0.0; pages come from a real server.
class ProductUpdatesTest : public AddInFixture {
 protected:
  ProductUpdatesTest() {
    SetEdition("URLUpdate", server.Url("/update"));
    inet.real = &web;
  }

  void Announce(const std::string& page) { server.Serve("/update", page); }

  std::string Seen() {
    return Decimal(Preference("SeenUpdateMsgMaj")) + "." + Decimal(Preference("SeenUpdateMsgMin")) +
           "." + Decimal(Preference("SeenUpdateMsgRev"));
  }

  static std::string Notice(const std::string& version, const std::string& message = "") {
    return message + "\r\n\r\nYour version: 1.0.0\r\nLatest version: " + version +
           "\r\n\r\nFor more information, click OK\r\n"
           "To continue using this version, click Cancel";
  }

  HttpServer server;
  desk::CurlInet web;
};

TEST_F(ProductUpdatesTest, ShowsANewerVersionOnceUnlessAsked) {
  Announce(Page("1.5.0",
                "<message lang=\"en\">PRODUCT_NAME &amp; more: PRODUCT_NAME</message>"
                "<urlInfo>http://example.com/?a=1&amp;b=2</urlInfo>"));
  const std::string notice = Notice(
      "1.5.0", "Corvessa Professional for Outlook & more: Corvessa Professional for Outlook");
  ui.ExpectBox(notice, 2);
  CheckForProductUpdates(false);
  EXPECT_EQ(Seen(), "1.5.0");
  CheckForProductUpdates(false);
  EXPECT_THAT(shell.pages, ElementsAre());
  ui.ExpectBox(notice, 1);
  CheckForProductUpdates(true);
  EXPECT_THAT(shell.pages, ElementsAre("http://example.com/?a=1&b=2"));
  EXPECT_THAT(server.Requests(), ElementsAre("/update", "/update", "/update"));
  EXPECT_EQ(LoadedForms(), std::vector<FormPtr>{});
}

TEST_F(ProductUpdatesTest, ComparesFieldByField) {
  for (const std::string newer : {"2.0.0", "1.1.0", "1.0.1", "1.10.0"}) {
    Announce(Page(newer));
    ui.ExpectBox(Notice(newer), 2);
    CheckForProductUpdates(true);
    EXPECT_EQ(Seen(), newer);
  }
  for (const std::string other : {"1.0.0", "0.9.9"}) {
    Announce(Page(other));
    CheckForProductUpdates(false);
    EXPECT_EQ(Seen(), other);
    ui.ExpectBox(kNone);
    CheckForProductUpdates(true);
  }
}

TEST_F(ProductUpdatesTest, ReadsOnlyWholeFields) {
  struct Case {
    std::string page;
    std::string seen;
  };
  for (const auto& [page, seen] :
       std::vector<Case>{{"", "0.0.0"},
                         {"<major>1", "0.0.0"},
                         {"<major", "0.0.0"},
                         {"<major>1</minor><minor>2</minor>", "0.2.0"},
                         {"<major>\n 1 build 7</major><minor><b>3</b></minor>", "1.0.0"},
                         {"<major><major>1</major></major><minor>1</minor>", "0.1.0"},
                         {"<revision>99999999999</revision>", "0.0.2147483647"},
                         {"<major>1</major><major>9</major>", "1.0.0"},
                         {std::string("\0\xFF<major>1</major>", 18), "1.0.0"},
                         {std::string(10'000'000, '<') + Page("9.9.9"), "0.0.0"}}) {
    Announce(page);
    ui.ExpectBox(kNone);
    CheckForProductUpdates(true);
    EXPECT_EQ(Seen(), seen) << page.substr(0, 60);
  }
}

TEST_F(ProductUpdatesTest, TakesAFailedFetchForVersionZero) {
  AllowError("frmManageUserKeys::CheckForProductUpdates - ");
  server.Serve("/update", "gone", 404);
  CheckForProductUpdates(false);
  EXPECT_EQ(Seen(), "0.0.0");
  SetEdition("URLUpdate", "file:///etc/passwd");
  ui.ExpectBox(kNone);
  CheckForProductUpdates(true);
}

}  // namespace
}  // namespace corvessa::testing
