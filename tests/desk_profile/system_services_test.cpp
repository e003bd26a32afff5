#include "desk/profile/system_services.h"

#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <sys/wait.h>
#include <thread>

#include "base/error.h"
#include "base/guard.h"
#include "support/http_server.h"
#include "support/temp_folder.h"

namespace corvessa::desk {
namespace {

class CurlInetTest : public ::testing::Test {
 protected:
  /// What the paths are answered with.
  std::map<std::string, std::string> replies_;
  testing::HttpServer server_{[this](int socket, const std::string& path) {
    testing::Replies(replies_.contains(path) ? replies_[path] : "404 -\r\n\r\n")(socket, path);
  }};
  CurlInet inet_;
};

TEST_F(CurlInetTest, CutsALongPageAfterOneMebibyte) {
  constexpr std::size_t kMebibyte = 1048576;
  std::string whole(kMebibyte, 'w');
  replies_ = {{"/whole", "200 -\r\n\r\n" + whole},
              {"/long", "200 -\r\n\r\n" + whole + std::string(9 * kMebibyte, 'x')}};
  EXPECT_EQ(inet_.OpenURL(server_.Url("/whole")), whole);
  EXPECT_EQ(inet_.OpenURL(server_.Url("/long")), whole);
}

TEST_F(CurlInetTest, RefusesOtherSchemesEvenAfterARedirection) {
  const testing::TempFolder folder;
  testing::WriteContent(folder / "secret", "CANARY");
  const std::string file = "file://" + (folder / "secret").string();
  replies_ = {{"/to-file", "302 -\r\nLocation: " + file + "\r\n\r\n"},
              {"/to-ftp", "302 -\r\nLocation: ftp://127.0.0.1/x\r\n\r\n"},
              {"/round", "302 -\r\nLocation: /round\r\n\r\n"},
              {"/broken", "500 -\r\n\r\n<major>9</major>"}};
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

TEST(SystemShellTest, PassesThePageAsOneArgumentAndLeavesNoChild) {
  const testing::TempFolder folder;
  const std::filesystem::path script = folder / "opener";
  const std::string record = folder / "record";
  testing::WriteContent(script, "#!/bin/sh\nfor a in \"$@\"; do echo \"$a\"; done > '" + record +
                                    ".new'\nmv '" + record + ".new' '" + record + "'\n");
  std::filesystem::permissions(script, std::filesystem::perms::owner_all);
  SystemShell shell(script.string());
  const std::string page = "HTTPS://example.org/?a=1&alias=a b;$(touch x)'\"`@x.org";
  shell.OpenPage(page);
  for (int i = 0; i < 500 && !std::filesystem::exists(record); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_EQ(testing::ContentOf(record), page + "\n");
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "nothing to wait for";
}

TEST(SystemShellTest, OpensOnlyWebPagesAndReportsAMissingOpener) {
  SystemShell shell("/nonexistent/opener");
  for (const std::string page : {"", "file:///etc/passwd", "-http://x", "javascript:alert(1)",
                                 "http:/x", " http://x", "http://x/\r\nb", "http://x/\x7F"}) {
    EXPECT_EQ(Attempt([&] { shell.OpenPage(page); }).number, kInvalidArgument) << page;
  }
  EXPECT_EQ(Attempt([&] { shell.OpenPage(std::string("http://x\0y", 10)); }).number,
            kInvalidArgument);
  EXPECT_EQ(Attempt([&] { shell.OpenPage("http://x/"); }).description,
            "Cannot start /nonexistent/opener to open http://x/: No such file or directory");
}

}  // namespace
}  // namespace corvessa::desk
