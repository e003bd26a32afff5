#include <gtest/gtest.h>

#include "base/text.h"
#include "crypto/stored_files.h"

namespace corvessa {
namespace {

TEST(StoredName, CannotLeaveItsFolderOrMeanADevice) {
  const std::string many(300, 'n');
  const std::pair<std::string, std::string> cases[] = {
      {"report.pdf", "report.pdf"},
      {"..\\..\\x", "x"},
      {"../../etc/passwd", "passwd"},
      {"c:\\windows\\win.ini", "win.ini"},
      {"a:b", "a_b"},
      {"..", "__"},
      {"", "attachment"},
      {"x\\", "attachment"},
      {"con", "_con"},
      {"Lpt1.tar.gz", "_Lpt1.tar.gz"},
      {"nul .txt", "_nul .txt"},
      {"console.txt", "console.txt"},
      {"Original", "_Original"},
      {"original.sig", "_original.sig"},
      {"original.txt", "original.txt"},
      {"1", "_1"},
      {"1a", "1a"},
      {"TMP36", "_TMP36"},
      {"tmp36.txt", "tmp36.txt"},
      {"name. . ", "name____"},
      {"a\tb\x01\"<>|?*", "ab______"},
      {"invoice\u202Efdp.exe", "invoicefdp.exe"},
      {"\xC3\xBC.txt", "\xC3\xBC.txt"},
      {many + ".pdf", many.substr(0, 156) + ".pdf"},
      {"con.sig", "_con.sig"},
      {many + ".pdf.SIG", many.substr(0, 156) + ".pdf.SIG"}};
  for (const auto& [given, stored] : cases) EXPECT_EQ(StoredFileName(given), stored) << given;
  std::string umlauts;
  for (int i = 0; i < 100; ++i) umlauts += "\xC3\xBC";
  EXPECT_EQ(StoredFileName("x" + umlauts).size(), 159U) << "no character is cut in two";
}

TEST(StoredName, PutsEachFileAPlaceOfItsOwnAndSignaturesBesideTheirData) {
  const auto places = [](const std::vector<std::string>& names) {
    std::string text;
    for (const StoredPlace& place : StoredPlaces(names)) {
      text += Decimal(place.subfolder) + ":" + place.name + " ";
    }
    return text;
  };
  EXPECT_EQ(places({}), "");
  EXPECT_EQ(places({"a", "A", "b", "a"}), "0:a 1:A 0:b 2:a ");
  EXPECT_EQ(places({"a.sig", "a", "a", "a.SIG"}), "0:a.sig 0:a 1:a 1:a.SIG ");
  // Two names that become one: each signature still finds the file it was made for.
  EXPECT_EQ(places({"a:b", "a_b", "a_b.sig", "a:b.sig"}), "0:a_b 1:a_b 1:a_b.sig 0:a_b.sig ");
  EXPECT_EQ(places({"x.sig", "x.sig"}), "0:x.sig 1:x.sig ");
  // A full folder takes no more files, but still the signatures of those in it.
  std::vector<std::string> many(41, "f");
  for (std::size_t i = 0; i < many.size(); ++i) many[i] += Decimal(static_cast<int>(i));
  many.insert(many.end(), {"f1", "f0.sig"});
  EXPECT_TRUE(places(many).ends_with("0:f39 1:f40 1:f1 0:f0.sig ")) << places(many);
}

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
      {"a blank at the start is a break", " 1234567890", "\r\n1234567890"},
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
