#include "desk/profile/profile_files.h"

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "base/error.h"
#include "base/guard.h"
#include "support/temp_folder.h"

namespace corvessa::desk {
namespace {

namespace fs = std::filesystem;

class ProfileFilesTest : public ::testing::Test {
 protected:
  template <class Body>
  static long NumberOf(Body&& body) {
    return Attempt(body).number;
  }
  static mode_t Mode(const fs::path& path) {
    struct stat found {};
    EXPECT_EQ(lstat(path.c_str(), &found), 0) << path;
    return found.st_mode & 07777;
  }

  testing::TempFolder folder_;
  ProfileFiles files_{folder_ / "drive_c"};
};

TEST_F(ProfileFilesTest, MapsDriveCAndNothingElse) {
  const fs::path root = folder_ / "drive_c";
  EXPECT_EQ(files_.LocalPath("c:\\"), root);
  EXPECT_EQ(files_.LocalPath("C:\\Dir\\file.txt"), root / "Dir" / "file.txt");
  EXPECT_EQ(files_.LocalPath("c:/Dir\\.\\\\sub\\"), root / "Dir" / "sub");
  for (const std::string refused :
       {"", "c:", "c:file", "d:\\file", "file", "\\\\server\\share\\file", "/etc/passwd",
        "c:\\..\\file", "c:\\a\\..\\..\\file", "c:\\a/../file", "c:\\a\\.."}) {
    EXPECT_EQ(NumberOf([&] { files_.LocalPath(refused); }), kPathNotFound) << refused;
  }
  EXPECT_EQ(NumberOf([&] { files_.Read(std::string("c:\\a\0b", 6)); }), kPathNotFound);
}

TEST_F(ProfileFilesTest, KeepsContentPrivateByteForByte) {
  const std::string bytes("line\r\n\0\xFF", 8);
  files_.Write("c:\\data.bin", bytes);
  files_.Write("c:\\data.bin", bytes + "2");
  files_.Copy("c:\\data.bin", "c:\\copy.bin");
  files_.AppendText("c:\\log.txt", "one\r\n");
  chmod(files_.LocalPath("c:\\log.txt").c_str(), 0644);
  files_.AppendText("c:\\log.txt", "two\r\n");
  files_.CreateFolder("c:\\dir");

  EXPECT_EQ(files_.Read("c:\\copy.bin"), bytes + "2");
  EXPECT_EQ(files_.Length("c:\\copy.bin"), 9);
  EXPECT_EQ(files_.Read("c:\\log.txt"), "one\r\ntwo\r\n");
  EXPECT_EQ(files_.List("c:\\"),
            (std::vector<std::string>{"Temp", "copy.bin", "data.bin", "dir", "log.txt"}));
  for (const char* path : {"c:\\data.bin", "c:\\copy.bin", "c:\\log.txt"}) {
    EXPECT_EQ(Mode(files_.LocalPath(path)), 0600U) << path;
  }
  for (const char* path : {"c:\\", "c:\\dir", "c:\\Temp"}) {
    EXPECT_EQ(Mode(files_.LocalPath(path)), 0700U) << path;
  }
  const std::string fresh = files_.FreshTemporaryPath(".sig");
  EXPECT_TRUE(fresh.starts_with(files_.TemporaryFolder()) && fresh.ends_with(".sig")) << fresh;
  EXPECT_FALSE(files_.FileExists(fresh));
}

TEST_F(ProfileFilesTest, ReportsFailuresByTheirNumbers) {
  files_.Write("c:\\file", "kept");
  files_.Write("c:\\other", "other");
  files_.CreateFolder("c:\\dir");
  files_.Write("c:\\dir\\file", "x");
  const struct {
    const char* what;
    std::function<void()> call;
    long number;
  } cases[] = {
      {"read missing", [&] { files_.Read("c:\\none"); }, kFileNotFound},
      {"read in missing folder", [&] { files_.Read("c:\\none\\file"); }, kPathNotFound},
      {"read below a file", [&] { files_.Read("c:\\file\\below"); }, kPathNotFound},
      {"read a folder", [&] { files_.Read("c:\\dir"); }, kPathFileAccess},
      {"write in missing folder", [&] { files_.Write("c:\\none\\file", "x"); }, kPathNotFound},
      {"write a folder", [&] { files_.Write("c:\\dir", "x"); }, kPathFileAccess},
      {"append in missing folder", [&] { files_.AppendText("c:\\none\\f", "x"); }, kPathNotFound},
      {"copy missing", [&] { files_.Copy("c:\\none", "c:\\new"); }, kFileNotFound},
      {"copy onto a file", [&] { files_.Copy("c:\\other", "c:\\file"); }, kPathFileAccess},
      {"delete missing", [&] { files_.Delete("c:\\none"); }, kFileNotFound},
      {"delete a folder", [&] { files_.Delete("c:\\dir"); }, kFileNotFound},
      {"create existing", [&] { files_.CreateFolder("c:\\dir"); }, kPathFileAccess},
      {"create in missing", [&] { files_.CreateFolder("c:\\none\\dir"); }, kPathNotFound},
      {"remove full folder", [&] { files_.RemoveEmptyFolder("c:\\dir"); }, kPathFileAccess},
      {"remove missing folder", [&] { files_.RemoveEmptyFolder("c:\\none"); }, kPathNotFound},
      {"list missing", [&] { files_.List("c:\\none"); }, kPathNotFound},
      {"list a file", [&] { files_.List("c:\\file"); }, kPathNotFound},
      {"attributes of missing", [&] { files_.Attributes("c:\\none"); }, kFileNotFound},
      {"length of missing", [&] { files_.Length("c:\\none"); }, kFileNotFound},
      {"name too long", [&] { files_.Write("c:\\" + std::string(300, 'n'), ""); }, kPathFileAccess},
  };
  for (const auto& one : cases) EXPECT_EQ(NumberOf(one.call), one.number) << one.what;
  EXPECT_EQ(files_.Read("c:\\file"), "kept");
  EXPECT_EQ(files_.List("c:\\"), (std::vector<std::string>{"Temp", "dir", "file", "other"}));

  files_.Delete("c:\\dir\\file");
  files_.RemoveEmptyFolder("c:\\dir");
  EXPECT_FALSE(files_.FolderExists("c:\\dir"));
}

TEST_F(ProfileFilesTest, FollowsNoLinkInTheLastComponent) {
  const fs::path outside = folder_ / "outside";
  std::filesystem::create_directory(outside);
  ProfileFiles elsewhere(outside);
  elsewhere.Write("c:\\secret", "untouched");
  fs::create_symlink(outside / "secret", files_.LocalPath("c:\\link"));
  fs::create_symlink(outside, files_.LocalPath("c:\\dirlink"));

  EXPECT_TRUE(files_.FileExists("c:\\link"));
  EXPECT_FALSE(files_.FolderExists("c:\\dirlink"));
  EXPECT_EQ(files_.Attributes("c:\\link"), 0U);
  EXPECT_EQ(NumberOf([&] { files_.Read("c:\\link"); }), kPathFileAccess);
  EXPECT_EQ(NumberOf([&] { files_.AppendText("c:\\link", "x"); }), kPathFileAccess);
  EXPECT_EQ(NumberOf([&] { files_.Copy("c:\\link", "c:\\copy"); }), kPathFileAccess);
  EXPECT_EQ(NumberOf([&] { files_.Length("c:\\link"); }), kPathFileAccess);
  EXPECT_EQ(NumberOf([&] { files_.List("c:\\dirlink"); }), kPathNotFound);
  files_.Write("c:\\link", "instead of the link");
  files_.Delete("c:\\dirlink");

  EXPECT_EQ(files_.Read("c:\\link"), "instead of the link");
  EXPECT_EQ(elsewhere.Read("c:\\secret"), "untouched");
}

TEST_F(ProfileFilesTest, TellsAttributes) {
  files_.Write("c:\\plain", "");
  files_.Write("c:\\.dot", "");
  files_.Write("c:\\fixed", "kept");
  chmod(files_.LocalPath("c:\\fixed").c_str(), 0400);
  mkfifo(files_.LocalPath("c:\\pipe").c_str(), 0600);

  EXPECT_EQ(files_.Attributes("c:\\plain"), platform::kAttributeArchive);
  EXPECT_EQ(files_.Attributes("c:\\.dot"),
            platform::kAttributeArchive | platform::kAttributeHidden);
  EXPECT_EQ(files_.Attributes("c:\\fixed"),
            platform::kAttributeArchive | platform::kAttributeReadOnly);
  EXPECT_EQ(files_.Attributes("c:\\Temp\\"), platform::kAttributeDirectory);
  EXPECT_EQ(NumberOf([&] { files_.Write("c:\\fixed", "x"); }), kPathFileAccess);
  EXPECT_EQ(files_.Read("c:\\fixed"), "kept");
  EXPECT_EQ(NumberOf([&] { files_.Read("c:\\pipe"); }), kPathFileAccess) << "must not wait";
}

}  // namespace
}  // namespace corvessa::desk
