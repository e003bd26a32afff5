#include "desk/profile/profile.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "base/error.h"
#include "base/guard.h"
#include "desk/profile/pictures.h"
#include "support/temp_folder.h"

namespace corvessa::desk {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kVersionKey =
    "HKEY_LOCAL_MACHINE\\Software\\Nimbra Communications\\Corvessa Professional\\Plugin\\Version";

std::string ContentOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string Stored(Profile& profile, std::string_view name) {
  const auto value = profile.Registry().FindValue(kVersionKey, name);
  return value ? value->data.substr(0, value->data.find('\0')) : "missing";
}

TEST(ProfileTest, ANewOneHasTheBrandAndAnOldOneKeepsItsOwn) {
  testing::TempFolder folder;
  {
    Profile profile(folder / "deep/profile/");
    EXPECT_EQ(Stored(profile, "AppShortName"), "Corvessa");
    EXPECT_EQ(Stored(profile, "AppLongName"), "Corvessa Professional for Outlook");
    EXPECT_EQ(Stored(profile, "EngineLookupServer"), "");
    EXPECT_EQ(Stored(profile, "URLUpdate"), "");
    profile.Registry().WriteString(kVersionKey, "AppShortName", "Quillon");

    const std::string pictures = profile.Product().folder + "\\Customization\\";
    const auto icon = LoadPictureFile(profile.Files(), pictures + "16x16Icon.bmp");
    EXPECT_EQ(icon->pixels.size(), 256U);
    EXPECT_EQ(icon->pixels.front(), 0xDEDEE7U) << "what the toolbar shows as transparent";
    EXPECT_EQ(LoadPictureFile(profile.Files(), pictures + "48hLogo.gif")->height, 48);
    EXPECT_EQ(LoadPictureFile(profile.Files(), pictures + "59hSplashImage.jpg")->height, 59);
    profile.Files().Write(pictures + "48hLogo.gif", "the user's own");

    struct stat made {};
    ASSERT_EQ(stat((folder / "deep/profile").c_str(), &made), 0);
    EXPECT_EQ(made.st_mode & 07777, 0700U);
  }
  Profile again(folder / "deep/profile");
  EXPECT_EQ(Stored(again, "AppShortName"), "Quillon");
  EXPECT_EQ(again.Files().Read(again.Product().folder + "\\Customization\\48hLogo.gif"),
            "the user's own");
}

TEST(ProfileTest, SaysWhyItCannotBeUsed) {
  testing::TempFolder folder;
  const std::string path = (folder / "p").string();
  {
    const Profile profile(path);
    EXPECT_EQ(Attempt([&] { Profile second(path); }).description,
              "The profile " + path + " is in use by another program; close that first");
  }
  std::ofstream(folder / "file") << "x";
  EXPECT_EQ(Attempt([&] { Profile profile(folder / "file"); }).description,
            "The profile " + (folder / "file").string() + " cannot be made: File exists");
  std::ofstream(folder / "p/registry.reg") << "REGEDIT4\nrubbish\n";
  EXPECT_EQ(
      Attempt([&] { Profile profile(path); }).description,
      "The registry file " + path +
          "/registry.reg is damaged and was left as it is: line 2: neither a key nor a value");
  EXPECT_EQ(ContentOf(folder / "p/registry.reg"), "REGEDIT4\nrubbish\n");
}

TEST(SystemClockTest, TellsTheLocalesTimeAndRepeatsNoSequence) {
  SystemClock clock;
  std::string shape = clock.DateTimeText();
  std::replace_if(
      shape.begin(), shape.end(), [](unsigned char c) { return std::isdigit(c) != 0; }, '9');
  EXPECT_EQ(shape, "99/99/99 99:99:99") << "the form of a process without a locale of its own";
  const double unseeded = SystemClock().Random();
  clock.Randomize();
  double last = clock.Random();
  EXPECT_NE(last, unseeded);
  for (int i = 0; i < 1000; ++i) {
    const double next = clock.Random();
    EXPECT_TRUE(next >= 0 && next < 1 && next != last);
    last = next;
  }
}

class SystemShellTest : public ::testing::Test {
 protected:
  /// An opener that writes down its arguments, one a line.
  std::string Opener() const {
    const fs::path script = folder_ / "opener";
    std::ofstream(script) << "#!/bin/sh\nfor a in \"$@\"; do echo \"$a\"; done > '"
                          << Record().string() << ".new'\nmv '" << Record().string() << ".new' '"
                          << Record().string() << "'\n";
    fs::permissions(script, fs::perms::owner_all);
    return script.string();
  }
  fs::path Record() const { return folder_ / "record"; }

  testing::TempFolder folder_;
};

TEST_F(SystemShellTest, HandsThePageOverAsOneArgumentAndLeavesNoChild) {
  SystemShell shell(Opener());
  const std::string page = "HTTPS://example.org/?a=1&alias=a b;$(touch x)'\"`@x.org";
  shell.OpenPage(page);
  for (int i = 0; i < 500 && !fs::exists(Record()); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_EQ(ContentOf(Record()), page + "\n");
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "nothing to wait for";
}

TEST_F(SystemShellTest, RefusesWhatIsNoWebPageAndTellsAMissingOpener) {
  SystemShell shell(Opener());
  for (const std::string page : {"", "file:///etc/passwd", "-http://x", "javascript:alert(1)",
                                 "http:/x", " http://x", "http://x/\r\nb", "http://x/\x7F"}) {
    EXPECT_EQ(Attempt([&] { shell.OpenPage(page); }).number, kInvalidArgument) << page;
  }
  EXPECT_EQ(Attempt([&] { shell.OpenPage(std::string("http://x\0y", 10)); }).number,
            kInvalidArgument);
  SystemShell missing("/nonexistent/opener");
  const Error error = Attempt([&] { missing.OpenPage("http://x/"); });
  EXPECT_EQ(error.number, kFileNotFound);
  EXPECT_EQ(error.description,
            "/nonexistent/opener cannot be started to open http://x/: No such file or directory");
}

}  // namespace
}  // namespace corvessa::desk
