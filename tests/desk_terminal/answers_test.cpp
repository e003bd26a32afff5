#include "desk/terminal/answers.h"

#include <fstream>
#include <gtest/gtest.h>

#include "base/error.h"
#include "base/guard.h"
#include "support/temp_folder.h"

namespace corvessa::testing {
namespace {

TEST(Answers, APassphraseIsTheFirstLineOfItsFileOrRefusedWithoutBeingShown) {
  const TempFolder folder;
  const std::string path = folder / "pass=phrase";
  const std::string whole(4000, 'x');
  const std::string first_line = "the first line of the passphrase file " + path;
  const struct {
    std::string argument, content, passphrase, error;
  } cases[] = {
      {"Ann@Example.org=" + path, " blank \r\nnot this\n", " blank ", ""},
      {"ann@example.org=" + path, whole, whole, ""},
      {"a=" + path, whole + "x", "", first_line + " is too long"},
      {"a=" + path, "\nsesame\n", "", first_line + " is empty"},
      {"sesame", "", "", "--passphrase takes ADDRESS=FILE"},
      {"=sesame", "", "", "--passphrase takes ADDRESS=FILE"},
      {"a=/none", "", "", "the passphrase file /none cannot be read: No such file or directory"}};
  for (const auto& c : cases) {
    std::ofstream(path) << c.content;
    desk::Answers answers;
    EXPECT_EQ(Attempt([&] { answers.AddPassphrase(c.argument); }).description, c.error);
    EXPECT_EQ(answers.UsePassphrase("ann@example.org", "").View(), c.passphrase);
  }
}

}  // namespace
}  // namespace corvessa::testing
