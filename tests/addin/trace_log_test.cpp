#include "addin/trace_log.h"

#include <filesystem>

#include "base/debug_info.h"
#include "support/addin_fixture.h"

namespace corvessa {
namespace {

using Debug_Info::kTraceFile;
using Debug_Info::TraceFileAttributes;
using Debug_Info::TraceLog;
using Lines = std::vector<std::string>;

class TraceFile : public testing::AddInFixture {};

TEST_F(TraceFile, IsWrittenLineByLineOnlyWhileTheSwitchIsOn) {
  g_bLogDebuggingInfo = false;
  TraceLog("lost");
  bool built = false;
  TraceLog([&] { return std::string(built = true, 'x'); });
  EXPECT_FALSE(built);
  EXPECT_FALSE(files.FileExists(kTraceFile));

  g_bLogDebuggingInfo = true;
  TraceLog("first");
  TraceLog([] { return std::string("sec\r\nond\x1b\u202E\u009B"); });
  EXPECT_EQ(files.Read(kTraceFile),
            "2/29/2004 11:58:07 PM: first\r\n2/29/2004 11:58:07 PM: sec\r\nond\r\n");
  const auto mode = std::filesystem::status(files.LocalPath(kTraceFile)).permissions();
  EXPECT_EQ(mode, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(TraceFile, HoldsOneLineForEachAttributeInTheirOrder) {
  g_bLogDebuggingInfo = true;
  files.Write("c:\\plain.txt", "x");
  std::filesystem::permissions(files.LocalPath("c:\\plain.txt"),
                               std::filesystem::perms::owner_read);
  TraceFileAttributes("c:\\plain.txt");
  files.CreateFolder("c:\\.hidden");
  TraceFileAttributes("c:\\.hidden");
  TraceFileAttributes("c:\\gone.txt");
  EXPECT_EQ(Trace(),
            (Lines{"Attribute: Read Only", "Attribute: Archive", "Attribute: Hidden",
                   "Attribute: Directory", "Debug_Info:TraceFileAttributes - File not found"}));
  AllowError("Debug_Info:TraceFileAttributes - ");
}

}  // namespace
}  // namespace corvessa
