#include "desk/profile/profile.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "base/error.h"
#include "base/guard.h"
#include "support/temp_folder.h"

namespace corvessa::desk {
namespace {

namespace fs = std::filesystem;

using testing::ContentOf;
using testing::WriteContent;

TEST(ProfileTest, SaysWhyItCannotBeUsed) {
  testing::TempFolder folder;
  const std::string path = (folder / "p").string();
  {
    const Profile profile(path);
    EXPECT_EQ(Attempt([&] { Profile second(path); }).description,
              "The profile " + path + " is in use by another program; close that first");
  }
  WriteContent(folder / "file", "x");
  EXPECT_EQ(Attempt([&] { Profile profile(folder / "file"); }).description,
            "The profile " + (folder / "file").string() + " cannot be made: File exists");
}

TEST(SystemShellTest, HandsThePageOverAsOneArgumentAndLeavesNoChild) {
  const testing::TempFolder folder;
  const fs::path script = folder / "opener";
  const std::string record = folder / "record";
  WriteContent(script, "#!/bin/sh\nfor a in \"$@\"; do echo \"$a\"; done > '" + record +
                           ".new'\nmv '" + record + ".new' '" + record + "'\n");
  fs::permissions(script, fs::perms::owner_all);
  SystemShell shell(script.string());
  const std::string page = "HTTPS://example.org/?a=1&alias=a b;$(touch x)'\"`@x.org";
  shell.OpenPage(page);
  for (int i = 0; i < 500 && !fs::exists(record); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_EQ(ContentOf(record), page + "\n");
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "nothing to wait for";
}

TEST(SystemShellTest, RefusesWhatIsNoWebPageAndTellsAMissingOpener) {
  SystemShell shell("/nonexistent/opener");
  for (const std::string page : {"", "file:///etc/passwd", "-http://x", "javascript:alert(1)",
                                 "http:/x", " http://x", "http://x/\r\nb", "http://x/\x7F"}) {
    EXPECT_EQ(Attempt([&] { shell.OpenPage(page); }).number, kInvalidArgument) << page;
  }
  EXPECT_EQ(Attempt([&] { shell.OpenPage(std::string("http://x\0y", 10)); }).number,
            kInvalidArgument);
  EXPECT_EQ(Attempt([&] { shell.OpenPage("http://x/"); }).description,
            "/nonexistent/opener cannot be started to open http://x/: No such file or directory");
}

}  // namespace
}  // namespace corvessa::desk
