#include "system/charsets.h"

#include <gtest/gtest.h>

namespace corvessa::system {
namespace {

TEST(Charsets, ConvertBothWays) {
  const struct {
    Charset charset;
    std::string_view bytes, text;
  } cases[] = {
      {Charset::kUtf8, "Grüße 📧", "Grüße 📧"},
      {Charset::kWindows1252,
       "Gr\xFC\xDF"
       "e \x80 \x9F",
       "Grüße € Ÿ"},
      {Charset::kLatin9,
       "Gr\xFC\xDF"
       "e \xA4",
       "Grüße €"},
      {Charset::kIso2022Jp, "a\x1b$B\x46\x7c\x4b\x5c\x1b(B\n\x1b$B\x38\x6c\x1b(B", "a日本\n語"},
      {Charset::kIso2022Jp, "", ""},
  };
  for (const auto& [charset, bytes, text] : cases) {
    EXPECT_EQ(Convert(bytes, charset, Charset::kUtf8), text);
    EXPECT_EQ(Convert(text, Charset::kUtf8, charset), bytes);
  }
  EXPECT_EQ(Convert("\x1b$@\x46\x7c\x1b(J!", Charset::kIso2022Jp, Charset::kUtf8), "日!");
}

TEST(Charsets, RefuseWhatIsNotOfThem) {
  EXPECT_EQ(Convert("\xED\xA0\x80", Charset::kUtf8, Charset::kUtf8), std::nullopt);
  EXPECT_EQ(Convert("\x81", Charset::kWindows1252, Charset::kUtf8), std::nullopt);
  for (const std::string_view bytes : {"\x1b$B\x46", "\x1b$B\x46\x1b(B", "\xC6\xFC"}) {
    EXPECT_EQ(Convert(bytes, Charset::kIso2022Jp, Charset::kUtf8), std::nullopt);
  }
  for (const Charset charset : {Charset::kWindows1252, Charset::kLatin9, Charset::kIso2022Jp}) {
    EXPECT_EQ(Convert("Ā📧", Charset::kUtf8, charset), std::nullopt);
  }
  EXPECT_EQ(Convert("\xC2\x81", Charset::kUtf8, Charset::kWindows1252), std::nullopt);
  EXPECT_EQ(Convert("ｱ", Charset::kUtf8, Charset::kIso2022Jp), std::nullopt);
}

}  // namespace
}  // namespace corvessa::system
