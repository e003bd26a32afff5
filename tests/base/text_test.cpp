#include "base/text.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace corvessa {
namespace {

TEST(Text, ClassicConversionsTreatBlanksInTheirOwnWay) {
  EXPECT_EQ(Str(3) + Str(0) + Str(-1), " 3 0-1");
  EXPECT_EQ(Trim("  a b  "), "a b");
  EXPECT_EQ(Trim("   "), "");
  EXPECT_EQ(Trim("\t a\r\n"), "\t a\r\n");
  EXPECT_EQ(Trim("\t a\r\n", " \t\r\n"), "a");
  EXPECT_EQ(Trim("\t\n", "\t\n"), "");
}

TEST(Text, LCaseFollowsUnicodeAndKeepsWhatIsNoUtf8) {
  EXPECT_EQ(LCase("ANNE@Example.ORG"), "anne@example.org");
  EXPECT_EQ(LCase("ÄÖÜ ÉŁĀŸ ΑΩ ЖЯ Ⅻ Ⓐ Ａ 𐐀 ẞ"), "äöü éłāÿ αω жя ⅻ ⓐ ａ 𐐨 ß");
  EXPECT_EQ(LCase("ß ǅ straße"), "ß ǆ straße");
  EXPECT_EQ(LCase("A\xFF\xC3"), "a\xFF\xC3");
}

TEST(Text, CharactersAreCodePoints) {
  EXPECT_EQ(Length("aé€𐐀"), 4U);
  EXPECT_EQ(Left("aé€𐐀", 3), "aé€");
  EXPECT_EQ(Left("ab", 9), "ab");
  EXPECT_EQ(Length("\xE2\x82"), 2U);
}

TEST(Text, ReplaceFindsEveryOccurrenceOnceFromTheLeft) {
  EXPECT_EQ(Replace("aaa", "aa", "b"), "ba");
  EXPECT_EQ(Replace("abab", "ab", "abab"), "abababab");
  EXPECT_EQ(Replace("abc", "", "x"), "abc");
  EXPECT_EQ(WithCrLf("a\rb\nc\r\nd\r\r\n\n"), "a\r\nb\r\nc\r\nd\r\n\r\n\r\n");
}

TEST(Text, LeadingNumberStopsAtWhatCannotContinueIt) {
  const struct {
    std::string_view text;
    double number;
  } cases[] = {{"9.0.0.2711", 9},   {"15 minutes", 15}, {"minutes", 0}, {"", 0},
               {"  1 2 3", 123},    {"-2.5x", -2.5},    {"+4", 4},      {"2,5", 2},
               {".5", 0.5},         {"-", 0},           {"1-2", 1},     {"10.0.2627", 10},
               {"1\t2\n3\r4", 123}, {"--3", 0},         {".", 0}};
  for (const auto& c : cases) EXPECT_EQ(LeadingNumber(c.text), c.number) << c.text;
  EXPECT_EQ(ClampToInt32(LeadingNumber(std::string(400, '9'))), 2147483647);
}

TEST(Text, RoundingGoesToTheNearestAndHalvesToTheEvenNumber) {
  const struct {
    double from;
    double to;
  } cases[] = {{8.5, 8},  {9.5, 10},  {10.5, 10}, {11.5, 12},
               {-0.5, 0}, {-1.5, -2}, {2.4, 2},   {2.6, 3}};
  for (const auto& c : cases) EXPECT_EQ(RoundHalfEven(c.from), c.to) << c.from;
}

TEST(Text, ClampKeepsANumberWithinThirtyTwoBits) {
  EXPECT_EQ(ClampToInt32(2.9), 2);
  EXPECT_EQ(ClampToInt32(1e12), 2147483647);
  EXPECT_EQ(ClampToInt32(-1e12), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(ClampToInt32(std::nan("")), 0);
}

TEST(Text, ForDisplayDropsWhatWouldDisguiseATextButKeepsTheRest) {
  EXPECT_EQ(ForDisplay("Bob\r\n\x1b[31m <b@x.org>\x7f"), "Bob[31m <b@x.org>");
  EXPECT_EQ(ForDisplay("a\u202Egpj.exe\u2069\u200F"), "agpj.exe");
  EXPECT_EQ(ForDisplay("b\u00ADo\u034Fs\u115F\u1160s\u17B5@\u180Bx\u2065.\u3164o\uFE0Fr\uFFA0g"
                       "\U000E0041"),
            "boss@x.org");
  EXPECT_EQ(ForDisplay("b\U00013430o\U0001BCA0s\U0001BCA3s\U0001D173@\U0001D17Ax"), "boss@x");
  const std::string visible = "\u0600\U0001BC9F\U0001BCA4\U0001D172\U0001D17B\U000E1000";
  EXPECT_EQ(ForDisplay(visible), visible);
  EXPECT_EQ(ForDisplay("é\x80\u0085 日本"), "é 日本");
}

TEST(Text, ForDisplayLinesKeepsLinesAndWidensTabs) {
  EXPECT_EQ(ForDisplayLines("a\r\nb\rc\n\n\x1b[2Jd\r\n"), "a\nb\nc\n\n[2Jd\n");
  EXPECT_EQ(ForDisplayLines("\té\tx\n1234567\t8\t"), "        é       x\n1234567 8       ");
  EXPECT_EQ(ForDisplayLines("1\xC2\x85"
                            "0\xE2\x80\xA8"
                            "0"),
            "1\n0\n0");
  EXPECT_EQ(ForDisplayLines(""), "");
}

}  // namespace
}  // namespace corvessa
