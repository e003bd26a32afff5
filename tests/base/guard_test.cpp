#include "base/guard.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>
#include <string>

#include "base/checked.h"
#include "base/secret_string.h"

namespace corvessa {
namespace {

TEST(Guard, GivesTheBodysResultOrTheNeutralOneWhateverIsThrown) {
  EXPECT_EQ(Guarded("x - ", 7, [] { return 3; }), 3);
  EXPECT_EQ(Guarded("x - ", 7, []() -> int { Raise(kFileNotFound); }), 7);
  EXPECT_EQ(Guarded("x - ", 7, []() -> int { throw std::runtime_error("no"); }), 7);
  EXPECT_EQ(Guarded("x - ", 7, []() -> int { throw 42; }), 7);
}

TEST(Guard, AttemptTellsWhatEndedTheBodyAndNeverCallsAFailureSuccess) {
  EXPECT_EQ(Attempt([] {}).number, 0);
  const Error missing = Attempt([] { Raise(kFileNotFound); });
  EXPECT_EQ(missing.number, 53);
  EXPECT_EQ(missing.description, "File not found");
  EXPECT_EQ(Attempt([] { throw std::runtime_error("no"); }).description, "no");
  EXPECT_NE(Attempt([] { throw Error{0, "odd"}; }).number, 0);
}

TEST(Checked, RunningOverIsError6AtEveryWidth) {
  using Short = std::numeric_limits<std::int16_t>;
  using Long = std::numeric_limits<std::int32_t>;
  EXPECT_EQ(CheckedAdd<std::int16_t>(32766, 1), Short::max());
  EXPECT_EQ(Attempt([] { CheckedAdd(Short::max(), std::int16_t{1}); }).number, kOverflow);
  EXPECT_EQ(Attempt([] { CheckedAdd(Long::max(), 1); }).number, kOverflow);
  EXPECT_EQ(Attempt([] { CheckedMultiply(Long::max(), 60); }).number, kOverflow);
  EXPECT_EQ(CheckedNarrow<std::int16_t>(-32768), Short::min());
  EXPECT_EQ(Attempt([] { CheckedNarrow<std::int16_t>(65537); }).number, kOverflow);
}

TEST(SecretString, StandsInItsArenaAndLeavesNoCopyWhenItChanges) {
  std::string text = "a long passphrase that does not fit a short string";
  const char* bytes = text.data();
  const std::size_t length = text.size();
  WipeText(text);
  EXPECT_TRUE(text.empty());
  EXPECT_EQ(std::string(bytes, length), std::string(length, '\0'));

  SecretString secret("tiny");
  const SecretString copy = secret;
  const char* held = secret.View().data();
  const auto arena = SecretArena();
  EXPECT_TRUE(held >= static_cast<void*>(arena.data()) && held < static_cast<void*>(&arena.back()));
  secret.Append(std::string(100, 'x'));
  EXPECT_EQ(std::string(held, 4), std::string(4, '\0'));
  EXPECT_EQ(secret.View(), "tiny" + std::string(100, 'x'));
  held = secret.View().data();
  secret.Clear();
  EXPECT_TRUE(secret.IsEmpty());
  EXPECT_EQ(std::string(held, 104), std::string(104, '\0'));
  // More than the arena holds.
  const std::vector<SecretString> many(1000, copy);
  for (const auto& one : many) EXPECT_EQ(one.View(), "tiny");
}

}  // namespace
}  // namespace corvessa
