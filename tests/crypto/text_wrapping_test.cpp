#include "crypto/text_wrapping.h"

#include <gtest/gtest.h>

namespace corvessa {
namespace {

TEST(TextWrapping, BreaksWhereTheRulesSay) {
  const struct {
    const char* what;
    std::string text;
    std::string wrapped;
  } cases[] = {
      {"nothing", "", ""},
      {"a line of the width", "1234567890", "1234567890"},
      {"a blank at the break is replaced", "12345 7890123", "12345\r\n7890123"},
      {"the last break wins", "1 3 5 7 90123", "1 3 5 7\r\n90123"},
      {"behind a comma", "12345,7890123", "12345,\r\n7890123"},
      {"behind a hyphen in the last column", "123456789-12", "123456789-\r\n12"},
      {"a comma in the last column takes its blank along", "123456789, 23", "123456789,\r\n23"},
      {"hard when there is no break", "123456789012345678901", "1234567890\r\n1234567890\r\n1"},
      {"a blank just past a full line", "1234567890 234", "1234567890\r\n234"},
      {"a line end at the width is kept", "1234567890\r\n12", "1234567890\r\n12"},
      {"line ends are kept as they are", "1\r\n\r\n2\n3\r4", "1\r\n\r\n2\n3\r4"},
      {"a line end starts the count anew", "12345\r\n1234567890 1", "12345\r\n1234567890\r\n1"},
      {"indentation is no break to begin with", " 1234567890", " 123456789\r\n0"},
      {"characters are counted, not bytes", "ääääääääää ö", "ääääääääää\r\nö"},
      {"a character is never cut", "€€€€€€€€€€€", "€€€€€€€€€€\r\n€"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(WrapText(c.text, 10), c.wrapped) << c.what;
    EXPECT_EQ(WrapText(WrapText(c.text, 10), 10), c.wrapped) << "again: " << c.what;
  }
  EXPECT_EQ(WrapText(std::string(200, 'x')),
            std::string(76, 'x') + "\r\n" + std::string(76, 'x') + "\r\n" + std::string(48, 'x'));
  EXPECT_EQ(WrapText("1 2", 0), "1 2");
}

}  // namespace
}  // namespace corvessa
