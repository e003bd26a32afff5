#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/guard.h"
#include "desk/profile/system_services.h"
#include "support/http_server.h"
#include "support/temp_folder.h"

namespace corvessa::desk {
namespace {

class CurlInetTest : public ::testing::Test {
 protected:
  testing::HttpServer server_;
  CurlInet inet_;
};

TEST_F(CurlInetTest, CutsALongPageAfterOneMebibyte) {
  constexpr std::size_t kMebibyte = 1048576;
  std::string whole(kMebibyte, 'w');
  server_.Serve("/whole", whole);
  server_.Serve("/long", whole + std::string(9 * kMebibyte, 'x'));
  EXPECT_EQ(inet_.OpenURL(server_.Url("/whole")), whole);
  EXPECT_EQ(inet_.OpenURL(server_.Url("/long")), whole);
}

TEST_F(CurlInetTest, RefusesOtherSchemesEvenAfterARedirection) {
  const testing::TempFolder folder;
  testing::WriteContent(folder / "secret", "CANARY");
  const std::string file = "file://" + (folder / "secret").string();
  server_.Serve("/to-file", "", 302, "Location: " + file + "\r\n");
  server_.Serve("/to-ftp", "", 302, "Location: ftp://127.0.0.1/x\r\n");
  server_.Serve("/round", "", 302, "Location: /round\r\n");
  server_.Serve("/broken", "<major>9</major>", 500);
  for (const std::string& url :
       {file, server_.Url("/to-file"), server_.Url("/to-ftp"), server_.Url("/round"),
        server_.Url("/broken"), server_.Url("/missing"), std::string("ftp://127.0.0.1/x"),
        std::string("http://127.0.0.1:1/"), std::string(), std::string("http://a\r\nb/"),
        server_.Url("/") + std::string("\0x", 2)}) {
    const Error error = Attempt([&] { inet_.OpenURL(url); });
    EXPECT_EQ(error.number, kPathFileAccess) << url;
    EXPECT_TRUE(error.description.starts_with("Cannot fetch the page " + url + ": "))
        << error.description;
  }
}

}  // namespace
}  // namespace corvessa::desk
