#include "desk/profile/profile.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "base/error.h"
#include "base/guard.h"
#include "desk/profile/pictures.h"
#include "support/temp_folder.h"

namespace corvessa::desk {
namespace {

namespace fs = std::filesystem;

using testing::ContentOf;
using testing::WriteContent;

TEST(ProfileTest, SaysWhyItCannotBeCreated) {
  const testing::TempFolder folder;
  WriteContent(folder / "file", "x");
  EXPECT_EQ(Attempt([&] { Profile profile(folder / "file"); }).description,
            "Cannot create the profile " + (folder / "file").string() + ": File exists");
}

TEST(ProfileTest, RefusesAFifoInPlaceOfItsFiles) {
  for (const std::string name : {"lock", "registry.reg"}) {
    const testing::TempFolder folder;
    mkfifo((folder / name).c_str(), 0600);
    const std::string what = name == "lock" ? "lock the profile " + folder.Path().string()
                                            : "read the registry file " + (folder / name).string();
    EXPECT_EQ(Attempt([&] { Profile profile(folder.Path()); }).description,
              "Cannot " + what + ": Not a regular file");
  }
}

TEST(ProfileTest, RemovesTheUnfinishedFilesOfAKilledProcess) {
  const testing::TempFolder folder;
  fs::create_directory(folder / "keys");
  for (const char* name : {".corvessa-a1B2c3", "keys/.corvessa-a1B2c3", "keys/mail12", "mail12"}) {
    WriteContent(folder / name, "x");
  }
  Profile profile(folder.Path());
  for (const char* removed : {".corvessa-a1B2c3", "keys/.corvessa-a1B2c3"}) {
    EXPECT_FALSE(fs::exists(folder / removed)) << removed;
  }
  for (const char* kept : {"keys/mail12", "mail12"}) EXPECT_TRUE(fs::exists(folder / kept)) << kept;
}

TEST(ProfileTest, IsIntactAndUnlockedAfterItsProcessWasKilled) {
  const testing::TempFolder folder;
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t child = fork();
  if (child == 0) {
    Profile profile(folder / "p");
    for (int i = 0;; ++i) {
      profile.Registry().WriteString("HKEY_CURRENT_USER\\K", "Count", std::to_string(i));
      if (i == 0 && write(ready[1], "r", 1) != 1) _exit(1);
    }
  }
  char byte = 0;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_TRUE(Profile(folder / "p").Registry().FindValue("HKEY_CURRENT_USER\\K", "Count"));
}

TEST(SystemShellTest, PassesThePageAsOneArgumentAndLeavesNoChild) {
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

std::string Bytes(std::initializer_list<int> bytes) {
  return {bytes.begin(), bytes.end()};
}

/// A BMP file of the given bits with this palette and these stored rows.
std::string Bmp(int width, int height, int bits, const std::string& palette,
                const std::string& rows) {
  const auto at = static_cast<int>(54 + palette.size());
  const int sign = height < 0 ? -1 : 0;
  return "BM" + Bytes({0, 0, 0,     0, 0, 0, 0,      0,    at & 0xFF, at >> 8, 0, 0, 40,  0,
                       0, 0, width, 0, 0, 0, height, sign, sign,      sign,    1, 0, bits}) +
         std::string(25, '\0') + palette + rows;
}

TEST(PicturesTest, DecodesEveryDepthTopDown) {
  const std::string palette = Bytes({1, 2, 3, 0, 4, 5, 6, 0});
  const std::uint32_t a = 0x030201;
  const std::uint32_t b = 0x060504;
  const struct {
    const char* what;
    std::string file;
    std::vector<std::uint32_t> pixels;
  } cases[] = {
      {"24 bits bottom-up", Bmp(1, 2, 24, "", Bytes({4, 5, 6, 0}) + Bytes({1, 2, 3, 0})), {a, b}},
      {"24 bits top-down", Bmp(1, -2, 24, "", Bytes({4, 5, 6, 0, 1, 2, 3, 0})), {b, a}},
      {"32 bits", Bmp(2, 1, 32, "", Bytes({1, 2, 3, 99, 4, 5, 6, 99})), {a, b}},
      {"4 bits",
       Bmp(3, 1, 4, palette + std::string(14 * 4, '\0'), Bytes({0x10, 0x10, 0, 0})),
       {b, a, b}},
      {"1 bit",
       Bmp(9, 1, 1, palette, Bytes({0b01000001, 0b10000000, 0, 0})),
       {a, b, a, a, a, a, a, b, b}},
  };
  for (const auto& one : cases) {
    const platform::Picture picture = DecodePicture(one.file);
    EXPECT_EQ(picture.pixels, one.pixels) << one.what;
    for (std::size_t cut = 0; cut < one.file.size(); ++cut) {
      const std::string_view start = std::string_view(one.file).substr(0, cut);
      EXPECT_EQ(Attempt([&] { DecodePicture(start); }).number, kInvalidPicture) << one.what << cut;
    }
  }
  std::string huge = Bmp(1, 1, 24, "", Bytes({0, 0, 0, 0}));
  huge[20] = 1;  // 65537 pixels wide
  std::string odd = Bmp(1, 1, 24, "", Bytes({0, 0, 0, 0}));
  odd[28] = 16;
  for (const std::string& refused :
       {huge, odd, std::string("PNG"), std::string("\xFF\xD8\xFF\xE0\x01")}) {
    EXPECT_EQ(Attempt([&] { DecodePicture(refused); }).number, kInvalidPicture);
  }
}

}  // namespace
}  // namespace corvessa::desk
