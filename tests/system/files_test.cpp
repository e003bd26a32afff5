#include "system/files.h"

#include <cstdlib>

#include "entries.h"
#include "system/errors.h"
#include "system/process.h"

namespace corvessa::system {
namespace {

using AtomicFiles = InFolder;
using Files = InFolder;
using Folders = InFolder;
using Locks = InFolder;
using NameSet = std::set<std::string>;

constexpr auto kRefuse = File::Links::kRefuse;

TEST_F(AtomicFiles, AppearWholeOrNotAtAll) {
  const fs::path path = Path(u8"ring");
  {
    AtomicFile dropped(path);
    dropped.Write("half");
    EXPECT_EQ(FindStamp(path), std::nullopt);
    for (const auto& name : Names()) {
      EXPECT_TRUE(IsTemporaryName(name));
      EXPECT_TRUE(IsPrivate(folder_ / name));
    }
  }
  EXPECT_EQ(Names(), NameSet());

  AtomicFile file(path);
  file.Write("longer than");
  file.Clear();
  file.Write("xhole");
  file.Rewind();
  file.Write("w");
  EXPECT_EQ(file.OpenWritten().ReadAll(), "whole");
  EXPECT_EQ(file.CommitDurably(), std::error_code());
  EXPECT_EQ(Read(path), "whole");
  EXPECT_TRUE(IsPrivate(path));
  EXPECT_EQ(Names(), NameSet{"ring"});
}

TEST_F(AtomicFiles, ReplaceAFileThatIsBeingRead) {
  const fs::path path = Path(u8"ring");
  Write(path, "old");
  const auto old_stamp = FindStamp(path);
  File first = File::OpenForReading(path);
  Write(path, "new");
  File second = File::OpenForReading(path);
  EXPECT_EQ(second.Stamp(), FindStamp(path));
  EXPECT_NE(second.Stamp(), old_stamp);
  Write(path, "newer");
  fs::remove(path);

  EXPECT_EQ(first.Stamp(), old_stamp);
  EXPECT_EQ(first.ReadAll(), "old");
  EXPECT_EQ(second.ReadAll(), "new");
  first = File();
  second = File();
  EXPECT_EQ(Names(), NameSet());
}

TEST_F(AtomicFiles, ReplaceNeitherAFolderNorWithCommitNewAFile) {
  const fs::path path = Path(u8"ring");
  const auto commit = [&](auto how) {
    AtomicFile file(path);
    file.Write("new");
    (file.*how)();
  };
  fs::create_directory(path);
  EXPECT_EQ(FailureOf([&] { commit(&AtomicFile::Commit); }), std::errc::is_a_directory);
  EXPECT_EQ(FailureOf([&] { commit(&AtomicFile::CommitNew); }), std::errc::file_exists);
  fs::remove(path);
  Write(path, "old");
  EXPECT_EQ(FailureOf([&] { commit(&AtomicFile::CommitNew); }), std::errc::file_exists);
  EXPECT_EQ(Read(path), "old");
  fs::remove(path);
  commit(&AtomicFile::CommitNew);
  EXPECT_EQ(Read(path), "new");
  EXPECT_EQ(Names(), NameSet{"ring"});
}

TEST_F(AtomicFiles, TakeOverWhoMayReadTheOldFile) {
  const fs::path path = Path(u8"public");
  Write(path, "old");
  Publish(path);
  for (const bool are_permissions_kept : {true, false}) {
    EXPECT_FALSE(IsPrivate(path));
    AtomicFile file(path);
    if (are_permissions_kept) file.CopyPermissions(File::OpenForReading(path));
    file.Commit();
  }
  EXPECT_TRUE(IsPrivate(path));
}

TEST_F(Files, HaveNamesOfAnyLanguageAndLength) {
  fs::path deep = folder_;
  while (deep.native().size() < 500) deep /= u8"Schlüssel für 日本語 und 🔑";
  MakePrivateFolder(deep, kRefuse);
  EXPECT_TRUE(IsPrivate(deep));
  const fs::path path = deep / u8"Grüße 📧.txt";
  Write(path, "content");
  EXPECT_EQ(Read(path), "content");
  EXPECT_TRUE(PathText(path).ends_with("Grüße 📧.txt"));
  File::Create(deep / u8"ключ");
  { const FileLock lock = FileLock::Wait(deep / u8"замок"); }
  RemoveEntries(deep, [](std::string_view name) { return name == "ключ" || name == "замок"; });
  EXPECT_FALSE(File::OpenIfThere(deep / u8"ключ"));
  EXPECT_FALSE(File::OpenIfThere(deep / u8"замок"));
  EXPECT_TRUE(File::OpenIfThere(path));
}

TEST_F(Files, AreReadAnywhereWrittenAtTheEndAndVanishWithoutAName) {
  const fs::path path = Path(u8"log");
  File::OpenForAppending(path).Write("0123456789");
  EXPECT_TRUE(IsPrivate(path));
  Publish(path);
  File::OpenForAppending(path).Write("abc");
  EXPECT_TRUE(IsPrivate(path));

  File file = File::OpenForReading(path);
  char buffer[20];
  EXPECT_EQ(file.Read(buffer, 2), 2U);
  EXPECT_EQ(std::string(buffer, file.ReadAt(9, buffer, sizeof buffer)), "9abc");
  EXPECT_EQ(file.ReadAt(13, buffer, sizeof buffer), 0U);
  EXPECT_EQ(file.Size(), 13U);
  File copy = File::Create(Path(u8"copy"));
  copy.WriteRestOf(file);
  copy.Close();
  EXPECT_EQ(Read(Path(u8"copy")), "23456789abc");
  EXPECT_TRUE(IsPrivate(Path(u8"copy")));

  const auto names = Names();
  File nameless = File::CreateNameless(folder_);
  nameless.Write("secret");
  EXPECT_EQ(std::string(buffer, nameless.ReadAt(0, buffer, sizeof buffer)), "secret");
  nameless = File();
  EXPECT_EQ(Names(), names);
}

TEST_F(Files, FailWithTheReason) {
  const fs::path missing = Path(u8"missing");
  EXPECT_FALSE(File::OpenIfThere(missing));
  EXPECT_FALSE(File::OpenIfThere(missing / u8"below"));
  const auto failure = FailureOf([&] { File::OpenForReading(missing); });
  EXPECT_EQ(failure, std::errc::no_such_file_or_directory);
  EXPECT_EQ(ErrorNumberOf(failure), kFileNotFound);
  EXPECT_EQ(ErrorNumberOf(failure, kPathNotFound), kPathNotFound);
  EXPECT_EQ(FailureOf([&] { AtomicFile(missing / u8"below"); }),
            std::errc::no_such_file_or_directory);
  EXPECT_EQ(FailureOf([&] { File::OpenForReading(folder_); }), std::errc::is_a_directory);
  EXPECT_EQ(FailureOf([&] { File::OpenForAppending(folder_); }), std::errc::is_a_directory);

  Write(Path(u8"file"), "");
  EXPECT_EQ(FailureOf([&] { File::Create(Path(u8"file")); }), std::errc::file_exists);
  EXPECT_EQ(FailureOf([&] { MakePrivateFolder(Path(u8"file"), kRefuse); }), std::errc::file_exists);
  EXPECT_EQ(FailureOf([&] { RemoveEntries(Path(u8"file"), [](auto) { return true; }); }),
            std::errc::not_a_directory);
}

TEST_F(Folders, AreMadePrivateAndNotThroughLinks) {
  const fs::path folder = Path(u8"above") / u8"data";
  MakePrivateFolder(folder, kRefuse);
  MakePrivateFolder(folder, kRefuse);
  EXPECT_TRUE(IsPrivate(folder));

  const fs::path link = Path(u8"above") / u8"link";
  LinkFolder(folder, link);
  MakePrivateFolder(link, File::Links::kFollow);
  EXPECT_EQ(FailureOf([&] { MakePrivateFolder(link, kRefuse); }), std::errc::file_exists);
}

TEST_F(Folders, AreEmptiedOfWhatIsMeantWithoutFollowingLinks) {
  const fs::path kept = Path(u8"kept"), linking = Path(u8"linking"), link = linking / u8"link";
  const fs::path below = Path(u8"old") / u8"below";
  const auto all = [](std::string_view) { return true; };
  MakePrivateFolder(kept, kRefuse);
  Write(kept / u8"file", "kept");
  MakePrivateFolder(linking, kRefuse);
  LinkFolder(kept, link);
  EXPECT_EQ(FailureOf([&] { RemoveEntries(link, all); }), std::errc::not_a_directory);
  RemoveEntries(linking, all);
  EXPECT_EQ(Read(kept / u8"file"), "kept");

  MakePrivateFolder(below, kRefuse);
  Write(below / u8"read-only", "");
  fs::permissions(below / u8"read-only", fs::perms::owner_read);
  RemoveEntries(folder_, [](std::string_view name) { return name == "old"; });
  EXPECT_EQ(Names(), (NameSet{"kept", "linking"}));
}

constexpr char kLockVariable[] = "CORVESSA_TEST_LOCK";

/// Runs this test of the same program in another process, where it succeeds if the lock is taken.
bool IsTakenForOthers(const fs::path& lock) {
  SetDefaultVariable(kLockVariable, PathText(lock).c_str());
  const std::string command = testing::internal::GetArgvs()[0] +
                              " --gtest_also_run_disabled_tests"
                              " --gtest_filter=Locks.DISABLED_IsTakenInAnotherProcess";
  return std::system(command.c_str()) == 0;
}

TEST_F(Locks, DISABLED_IsTakenInAnotherProcess) {
  const char* const path = std::getenv(kLockVariable);
  if (path == nullptr) GTEST_SKIP();
  EXPECT_EQ(FileLock::Try(path), std::nullopt);
}

TEST_F(Locks, KeepOutEveryOtherOwner) {
  const fs::path path = Path(u8"lock");
  {
    const auto lock = FileLock::Try(path);
    ASSERT_TRUE(lock);
    EXPECT_TRUE(IsPrivate(path));
    EXPECT_FALSE(FileLock::Try(path));
    EXPECT_EQ(Read(path), "");
    EXPECT_TRUE(IsTakenForOthers(path));
  }
  EXPECT_FALSE(IsTakenForOthers(path));
  const FileLock waited = FileLock::Wait(path);
  EXPECT_TRUE(IsTakenForOthers(path));
}

}  // namespace
}  // namespace corvessa::system
