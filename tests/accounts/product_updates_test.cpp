#include "accounts/product_updates.h"

#include <gmock/gmock.h>

#include "accounts/frm_manage_user_keys.h"
#include "base/text.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {
namespace {

using ::testing::ElementsAre;

constexpr char kNone[] = "No product updates are available at this time.";

/// The running version is 1.0.0.
class ProductUpdatesTest : public AddInFixture {
 protected:
  ProductUpdatesTest() { SetEdition("URLUpdate", "http://example.com/update"); }

  void Announce(const std::string& page) { inet.pages["http://example.com/update"] = page; }
  void Announce(int major, int minor, int revision, const std::string& more = "") {
    Announce("<update>\r\n<major>" + Decimal(major) + "</major>\r\n<minor>" + Decimal(minor) +
             "</minor>\r\n<revision>" + Decimal(revision) + "</revision>\r\n" + more + "</update>");
  }

  std::string Seen() {
    return Decimal(Preference("SeenUpdateMsgMaj")) + "." + Decimal(Preference("SeenUpdateMsgMin")) +
           "." + Decimal(Preference("SeenUpdateMsgRev"));
  }

  static std::string Notice(const std::string& version, const std::string& message = "") {
    return message + "\r\n\r\nYour version: 1.0.0\r\nLatest version: " + version +
           "\r\n\r\nFor more information, click OK\r\n"
           "To continue using this version, click Cancel";
  }
};

TEST_F(ProductUpdatesTest, ShowsANewerVersionOnceUnlessAsked) {
  Announce(1, 5, 0,
           "<message lang=\"en\">PRODUCT_NAME &amp; more: PRODUCT_NAME</message>"
           "<urlInfo>http://example.com/?a=1&amp;b=2</urlInfo>");
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
  EXPECT_EQ(LoadedForms(), std::vector<FormPtr>{});
}

TEST_F(ProductUpdatesTest, ComparesFieldByField) {
  for (const auto& [major, minor, revision, is_newer] : {std::tuple(2, 0, 0, true),
                                                         {1, 1, 0, true},
                                                         {1, 0, 1, true},
                                                         {1, 10, 0, true},
                                                         {1, 0, 0, false},
                                                         {0, 9, 9, false}}) {
    Announce(major, minor, revision);
    const std::string version = Decimal(major) + "." + Decimal(minor) + "." + Decimal(revision);
    if (is_newer) {
      ui.ExpectBox(Notice(version), 2);
    } else {
      CheckForProductUpdates(false);
      ui.ExpectBox(kNone);
    }
    CheckForProductUpdates(true);
    EXPECT_EQ(Seen(), version);
  }
}

TEST_F(ProductUpdatesTest, ReadsOnlyWholeFields) {
  for (const auto& [page, seen] : std::vector<std::pair<std::string, std::string>>{
           {"", "0.0.0"},
           {"<major>1", "0.0.0"},
           {"<major", "0.0.0"},
           {"<major>1</minor><minor>2</minor>", "0.2.0"},
           {"<major>\n 1 build 7</major><minor><b>3</b></minor>", "1.0.0"},
           {"<major><major>1</major></major><minor>1</minor>", "0.1.0"},
           {"<revision>99999999999</revision>", "0.0.2147483647"},
           {"<major>1</major><major>9</major>", "1.0.0"},
           {std::string("\0\xFF<major>1</major>", 18), "1.0.0"}}) {
    Announce(page);
    ui.ExpectBox(kNone);
    CheckForProductUpdates(true);
    EXPECT_EQ(Seen(), seen) << page.substr(0, 60);
  }
}

TEST_F(ProductUpdatesTest, TakesAFailedFetchForVersionZero) {
  AllowError("frmManageUserKeys::CheckForProductUpdates - ");
  CheckForProductUpdates(false);
  EXPECT_EQ(Seen(), "0.0.0");
  ui.ExpectBox(kNone);
  CheckForProductUpdates(true);
}

}  // namespace
}  // namespace corvessa::testing
