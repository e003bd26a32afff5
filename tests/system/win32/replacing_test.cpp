#include "entries.h"

namespace corvessa::system {
namespace {

using Replacing = InFolder;

TEST_F(Replacing, IsUndoneWhenItWasKilledInItsMidst) {
  const fs::path path = Path(u8"ring"), aside = Path(u8"ring.corvessa-old");
  const auto leave_halfway = [&] {
    Write(path, "old");
    fs::rename(path, aside);
  };
  leave_halfway();
  EXPECT_EQ(Read(path), "old");
  leave_halfway();
  EXPECT_TRUE(FindStamp(path));
  leave_halfway();
  EXPECT_EQ(FailureOf([&] { File::Create(path); }), std::errc::file_exists);
  leave_halfway();
  File::OpenForAppending(path).Write("er");
  EXPECT_EQ(Read(path), "older");
  Write(aside, "oldest");
  Write(path, "new");
  fs::remove(path);
  EXPECT_FALSE(File::OpenIfThere(path));
}

TEST_F(Replacing, LeavesAReadOnlyFileAlone) {
  const fs::path path = Path(u8"ring");
  Write(path, "old");
  fs::permissions(path, fs::perms::owner_read);
  EXPECT_EQ(FailureOf([&] { Write(path, "new"); }), std::errc::permission_denied);
  EXPECT_EQ(Read(path), "old");
}

}  // namespace
}  // namespace corvessa::system
