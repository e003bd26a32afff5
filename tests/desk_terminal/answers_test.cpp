#include "desk/terminal/answers.h"

#include <fstream>
#include <gtest/gtest.h>

#include "base/error.h"
#include "base/guard.h"
#include "support/temp_folder.h"

namespace corvessa::testing {
namespace {

std::string PassphraseError(const std::string& argument) {
  desk::Answers answers;
  return Attempt([&] { answers.AddPassphrase(argument); }).description;
}

TEST(Answers, APassphraseIsTheFirstLineOfItsFile) {
  const TempFolder folder;
  const std::string path = folder / "pass=phrase";
  for (const std::string& line :
       {std::string("sesame"), std::string(" blank "), std::string(4000, 'x')}) {
    for (const std::string_view rest : {"", "\r\nnot this\n"}) {
      std::ofstream(path) << line << rest;
      desk::Answers answers;
      answers.AddPassphrase("Ann@Example.org=" + path);
      EXPECT_EQ(answers.UsePassphrase("ann@example.org", "").View(), line);
    }
  }
}

TEST(Answers, WhatIsNoAnswerIsRefusedWithoutBeingShown) {
  const TempFolder folder;
  const std::string path = folder / "file";
  std::ofstream(path) << "\nsesame\n";
  EXPECT_EQ(PassphraseError("sesame"), "--passphrase takes ADDRESS=FILE");
  EXPECT_EQ(PassphraseError("=sesame"), "--passphrase takes ADDRESS=FILE");
  EXPECT_EQ(PassphraseError("a=" + path),
            "the first line of the passphrase file " + path + " is empty");
  std::ofstream(path) << std::string(4001, 'x');
  EXPECT_EQ(PassphraseError("a=" + path),
            "the first line of the passphrase file " + path + " is too long");
  EXPECT_EQ(PassphraseError("a=" + path + ".none"),
            "the passphrase file " + path + ".none cannot be read: No such file or directory");
  desk::Answers answers;
  const Error error = Attempt([&] { answers.AddAnswer("frmHTML="); });
  EXPECT_EQ(error.number, kInvalidArgument);
  EXPECT_EQ(error.description, "--answer takes FORM=CONTROL");
}

}  // namespace
}  // namespace corvessa::testing
