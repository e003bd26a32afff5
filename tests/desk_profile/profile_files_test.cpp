#include "desk/profile/profile_files.h"

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "base/error.h"
#include "base/guard.h"
#include "support/temp_folder.h"

namespace corvessa::desk {
namespace {

namespace fs = std::filesystem;

class ProfileFilesTest : public ::testing::Test {
 protected:
  testing::TempFolder folder_;
  ProfileFiles files_{folder_ / "drive_c"};
};

TEST_F(ProfileFilesTest, MapsDriveCOnly) {
  const fs::path root = folder_ / "drive_c";
  EXPECT_EQ(files_.LocalPath("c:\\"), root);
  EXPECT_EQ(files_.LocalPath("C:\\Dir\\file.txt"), root / "Dir" / "file.txt");
  EXPECT_EQ(files_.LocalPath("c:/Dir\\.\\\\sub\\"), root / "Dir" / "sub");
  for (const std::string refused :
       {"", "c:", "c:file", "d:\\file", "file", "\\\\server\\share\\file", "/etc/passwd",
        "c:\\..\\file", "c:\\a\\..\\..\\file", "c:\\a/../file", "c:\\a\\.."}) {
    EXPECT_EQ(Attempt([&] { files_.LocalPath(refused); }).number, kPathNotFound) << refused;
  }
  EXPECT_EQ(Attempt([&] { files_.Read(std::string("c:\\a\0b", 6)); }).number, kPathNotFound);
}

TEST_F(ProfileFilesTest, KeepsContentPrivateByteForByte) {
  const std::string bytes("line\r\n\0\xFF", 8);
  files_.Write("c:\\data.bin", bytes);
  files_.Write("c:\\data.bin", bytes + "2");
  files_.Copy("c:\\data.bin", "c:\\copy.bin");
  files_.AppendText("c:\\log.txt", "one\r\n");
  files_.AppendText("c:\\log.txt", "two\r\n");
  files_.CreateFolder("c:\\dir");
  EXPECT_EQ(files_.Read("c:\\copy.bin"), bytes + "2");
  EXPECT_EQ(files_.Read("c:\\log.txt"), "one\r\ntwo\r\n");
  for (const std::string path :
       {"c:\\data.bin", "c:\\copy.bin", "c:\\log.txt", "c:\\", "c:\\dir"}) {
    EXPECT_EQ(fs::status(files_.LocalPath(path)).permissions() & fs::perms(0077), fs::perms::none)
        << path;
  }
}

TEST_F(ProfileFilesTest, ReportsFailuresByTheirNumbers) {
  files_.Write("c:\\file", "kept");
  files_.Write("c:\\other", "other");
  chmod(files_.LocalPath("c:\\file").c_str(), 0400);
  files_.CreateFolder("c:\\dir");
  files_.Write("c:\\dir\\file", "x");
  const struct {
    const char* what;
    std::function<void()> call;
    long number;
  } cases[] = {
      {"read missing", [&] { files_.Read("c:\\none"); }, kFileNotFound},
      {"read a folder", [&] { files_.Read("c:\\dir"); }, kPathFileAccess},
      {"write in missing folder", [&] { files_.Write("c:\\none\\file", "x"); }, kPathNotFound},
      {"write a read-only file", [&] { files_.Write("c:\\file", "x"); }, kPathFileAccess},
      {"copy onto a file", [&] { files_.Copy("c:\\other", "c:\\file"); }, kPathFileAccess},
      {"delete missing", [&] { files_.Delete("c:\\none"); }, kFileNotFound},
      {"delete a folder", [&] { files_.Delete("c:\\dir"); }, kFileNotFound},
      {"create existing", [&] { files_.CreateFolder("c:\\dir"); }, kPathFileAccess},
      {"remove full folder", [&] { files_.RemoveEmptyFolder("c:\\dir"); }, kPathFileAccess},
      {"name too long", [&] { files_.Write("c:\\" + std::string(300, 'n'), ""); }, kPathFileAccess},
  };
  for (const auto& one : cases) EXPECT_EQ(Attempt(one.call).number, one.number) << one.what;
  EXPECT_EQ(files_.Read("c:\\file"), "kept");
  EXPECT_EQ(files_.List("c:\\"), (std::vector<std::string>{"Temp", "dir", "file", "other"}));
}

TEST_F(ProfileFilesTest, FollowsNoLinksAndDoesNotWaitForFifos) {
  const fs::path outside = folder_ / "outside";
  std::filesystem::create_directory(outside);
  ProfileFiles elsewhere(outside);
  elsewhere.Write("c:\\secret", "untouched");
  fs::create_symlink(outside / "secret", files_.LocalPath("c:\\link"));
  fs::create_symlink(outside, files_.LocalPath("c:\\dirlink"));

  mkfifo(files_.LocalPath("c:\\pipe").c_str(), 0600);
  const std::function<void()> cases[] = {
      [&] { files_.Read("c:\\link"); }, [&] { files_.AppendText("c:\\link", "x"); },
      [&] { files_.Copy("c:\\link", "c:\\copy"); }, [&] { files_.Length("c:\\link"); },
      [&] { files_.Read("c:\\pipe"); }};
  for (const auto& call : cases) EXPECT_EQ(Attempt(call).number, kPathFileAccess);
  files_.Write("c:\\link", "instead of the link");
  files_.Delete("c:\\dirlink");

  EXPECT_EQ(files_.Read("c:\\link"), "instead of the link");
  EXPECT_EQ(elsewhere.Read("c:\\secret"), "untouched");
}

TEST_F(ProfileFilesTest, RemovesOnlyItsOwnLeftoversAndFollowsNoLink) {
  const fs::path temporary = files_.LocalPath("c:\\Temp"), elsewhere = folder_ / "elsewhere";
  const std::vector<std::string> ours{"mail12", "~17.tmp", "Saving", ".corvessa-a1B2c3"};
  const std::vector<std::string> others{".corvessa-notes.txt", "Savings",  "mail", "mail1x",
                                        "report.doc",          "~$17.tmp", "~.tmp"};
  for (const auto& names : {ours, others}) {
    for (const auto& name : names) fs::create_directories(temporary / name / "deep");
  }
  RemoveTemporaryLeftovers(temporary);
  EXPECT_EQ(files_.List("c:\\Temp"), others);

  fs::rename(temporary, elsewhere);
  fs::create_directory(elsewhere / "mail12");
  fs::create_symlink(elsewhere, temporary);
  EXPECT_EQ(Attempt([&] { ProfileFiles again(folder_ / "drive_c"); }).description,
            temporary.string() + " is a link or a file, not a folder");
  EXPECT_EQ(Attempt([&] { RemoveTemporaryLeftovers(temporary); }).number, kPathFileAccess);
  EXPECT_TRUE(fs::exists(elsewhere / "mail12"));
}

}  // namespace
}  // namespace corvessa::desk
