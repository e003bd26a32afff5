#include "desk/profile/registry_file.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/guard.h"
#include "support/temp_folder.h"

namespace corvessa::desk {
namespace {

using platform::kRegistrySuccess;
using platform::RegistryKeyPtr;

class RegistryFileTest : public ::testing::Test {
 protected:
  void Put(const std::string& text) const { testing::WriteContent(path_, text); }
  std::string Content() const { return testing::ContentOf(path_); }
  static RegistryKeyPtr Created(platform::RegistryKey& from, std::string_view path) {
    RegistryKeyPtr key;
    EXPECT_EQ(from.Create(path, key), kRegistrySuccess) << path;
    return key;
  }
  static std::vector<std::string> Names(platform::RegistryKey& key) {
    std::vector<std::string> names;
    std::string name;
    std::uint32_t index = 0;
    while (key.EnumerateKey(index, name) == kRegistrySuccess) {
      names.push_back(name);
      ++index;
    }
    EXPECT_EQ(key.EnumerateKey(index, name), platform::kRegistryNoMoreItems);
    return names;
  }

  testing::TempFolder folder_;
  const std::filesystem::path path_ = folder_ / "registry.reg";
};

TEST_F(RegistryFileTest, ReadsNumbersAndStringsByTheirBytes) {
  Put("REGEDIT4\n[HKEY_CURRENT_USER\\K]\n"
      "\"True\"=dword:ffffffff\n\"Zero\"=dword:0\n\"Text1\"=\"1\"\n\"Text3\"=\"abc\"\n"
      "\"Text4\"=\"abcd\"\n\"Empty\"=\"\"\n\"Two\"=hex:01,02\n\"Five\"=hex:01,00,00,00,00\n"
      "\"Open\"=hex(1):41,42\n\"Split\"=hex(1):41,00,42,00\n\"Number\"=dword:00004241\n"
      "\"Fits\"=\"" +
      std::string(254, 'x') + "\"\n\"TooLong\"=\"" + std::string(255, 'x') + "\"\n\"Umlauts\"=\"" +
      std::string(253, 'x') + "\xC3\xA9\"\n");
  RegistryFile registry(path_);
  const auto key = Created(registry.CurrentUser(), "K");
  const std::pair<const char*, std::int32_t> numbers[] = {
      {"True", -1},    {"Zero", 0}, {"Text1", '1'}, {"Text3", 0x636261}, {"Text4", 0},
      {"Two", 0x0201}, {"Five", 0}, {"Empty", 0},   {"Missing", 0}};
  for (const auto& [name, number] : numbers) EXPECT_EQ(key->ReadNumber(name), number) << name;
  const std::pair<const char*, std::string> strings[] = {
      {"Text1", "1"},   {"Open", "AB"},  {"Split", "A"},
      {"Number", "AB"}, {"Missing", ""}, {"Fits", std::string(254, 'x')},
      {"TooLong", ""},  {"Umlauts", ""}, {"Empty", ""}};
  for (const auto& [name, text] : strings) EXPECT_EQ(key->ReadString(name, 255), text) << name;
}

TEST_F(RegistryFileTest, ReadsEditorExportsAndKeepsUnknownValues) {
  Put("\xEF\xBB\xBFREGEDIT4\n"
      "; a comment\r"
      "\r\n"
      "[HKEY_CLASSES_ROOT]\r\n"
      "  @ = \"file\" \r\n"
      "[HKEY_CURRENT_USER\\Soft\\a]b ]\r\n"
      "\"Text\"=\"back\\\\slash \\\"quoted\\\" \xC3\xA9;=\"\r\n"
      "\"No\\\\=\\\"1\"=dword:ff\r\n"
      "\"Bytes\"=hex:00,FF,\\\r\n"
      "  10\r\n"
      "\"Lines\"=hex(1):61,0d,0a,62,00\r\n"
      "\"Gone\"=\"x\"\r\n"
      "\"gone\"=-\r\n"
      "\"Empty\"=hex(ffff0001):\r\n"
      "[HKEY_CURRENT_USER\\Old\\Deep]\r\n"
      "[-HKEY_CURRENT_USER\\Old]\r\n"
      "[HKEY_CURRENT_USER\\SOFT]\r\n"
      "\"Last\"=\"1\"");
  const std::string expected =
      "REGEDIT4\r\n"
      "\r\n[HKEY_CLASSES_ROOT]\r\n"
      "@=\"file\"\r\n"
      "\r\n[HKEY_CURRENT_USER]\r\n"
      "\r\n[HKEY_CURRENT_USER\\Soft]\r\n"
      "\"Last\"=\"1\"\r\n"
      "\r\n[HKEY_CURRENT_USER\\Soft\\a]b ]\r\n"
      "\"Text\"=\"back\\\\slash \\\"quoted\\\" \xC3\xA9;=\"\r\n"
      "\"No\\\\=\\\"1\"=dword:000000ff\r\n"
      "\"Bytes\"=hex:00,ff,10\r\n"
      "\"Lines\"=hex(1):61,0d,0a,62,00\r\n"
      "\"Empty\"=hex(ffff0001):\r\n"
      "\r\n[HKEY_LOCAL_MACHINE]\r\n"
      "\"Long\"=hex(1):09,78,78,78,78,78,78,78,78,78,78,78,78,78,78,78,78,78,78,78,78,\\\r\n"
      "  78,78,78,78,78,78,78,78,78,78,00\r\n";
  for (int round = 0; round < 2; ++round) {
    RegistryFile registry(path_);
    registry.WriteString("HKEY_LOCAL_MACHINE", "Long", "\t" + std::string(30, 'x'));
    RegistryKeyPtr key;
    ASSERT_EQ(registry.CurrentUser().Open("SOFT\\A]B ", key), kRegistrySuccess);
    EXPECT_EQ(key->ReadString("TEXT", 255), "back\\slash \"quoted\" \xC3\xA9;=");
    EXPECT_EQ(key->ReadString("lines", 255), "a\r\nb");
    EXPECT_EQ(registry.CurrentUser().Open("Old", key), platform::kRegistryFileNotFound);
  }
  EXPECT_EQ(Content(), expected);
}

TEST_F(RegistryFileTest, KeysKeepCaseAndOrderAndDieWhenDeleted) {
  RegistryFile registry(path_);
  const auto parent = Created(registry.CurrentUser(), "Parent");
  for (const char* name : {"b@x.org", "a@x.org", "C@x.org", "B@X.ORG"}) Created(*parent, name);
  EXPECT_EQ(Names(*parent), (std::vector<std::string>{"b@x.org", "a@x.org", "C@x.org"}));

  const auto child = Created(*parent, "a@x.org");
  EXPECT_EQ(registry.CurrentUser().DeleteKey("parent"), platform::kRegistryAccessDenied);
  EXPECT_EQ(registry.CurrentUser().DeleteKey(""), platform::kRegistryAccessDenied);
  EXPECT_EQ(parent->DeleteKey("A@x.org"), kRegistrySuccess);
  EXPECT_EQ(child->WriteNumber("Sign", 1), kRegistryKeyDeleted);
  RegistryKeyPtr none;
  for (const std::string& name : {std::string(256, 'n'), std::string("line\nbreak"),
                                  std::string("nul\0", 4), std::string(1200, '\\') + "a\x7F"}) {
    EXPECT_EQ(parent->Create(name, none), kRegistryInvalidParameter);
    EXPECT_EQ(parent->WriteNumber(name, 1), kRegistryInvalidParameter);
  }
  EXPECT_EQ(Names(*parent), (std::vector<std::string>{"b@x.org", "C@x.org"}));
}

TEST_F(RegistryFileTest, RefusesADamagedFileAndLeavesItUnchanged) {
  const std::string head = "REGEDIT4\r\n[HKEY_CURRENT_USER\\K]\r\n";
  std::string deep = "[HKEY_CURRENT_USER";
  for (int i = 0; i < 600; ++i) deep += "\\d";
  const std::pair<std::string, std::string> cases[] = {
      {"", "line 0: not a registry file: REGEDIT4 is missing"},
      {"REGEDIT4\r\n\"a\"=\"b\"\r\n", "line 2: value outside a key"},
      {head + "\"a\"=\"b\\\"\r\n", "line 3: missing quotation mark at the end of the text"},
      {head + "\"a\"=\"b\" x", "line 3: unexpected characters after the text"},
      {head + "a=b", "line 3: expected a key or a value"},
      {head + "\"a\"=dword:123456789", "line 3: dword: takes up to eight hexadecimal digits"},
      {head + "\"a\"=hex:01,100", "line 3: expected bytes of two hexadecimal digits"},
      {head + "\"a\"=hex:01\\\r\n02", "line 3: missing comma"},
      {head + "\"a\"=hex:01,\\\r\n  02,\\", "line 4: truncated value"},
      {head + "[HKEY_CURRENT_USER\\L\r\n", "line 3: missing bracket at the end of the key"},
      {head + deep + "]\r\n", "line 3: key path too long or too deep"},
      {head + std::string("\r\n\0\r\n", 5), "line 4: control character"},
  };
  for (const auto& [text, reason] : cases) {
    Put(text);
    const Error error = Attempt([&] { RegistryFile registry(path_); });
    EXPECT_EQ(error.number, kPathFileAccess) << text;
    EXPECT_EQ(error.description, "The registry file " + path_.string() +
                                     " is damaged and was left unchanged: " + reason);
    EXPECT_EQ(Content(), text);
  }
}

TEST_F(RegistryFileTest, ReportsAFailedSaveAndRetries) {
  const auto blocked = folder_ / "sub" / "registry.reg";
  std::filesystem::create_directory(folder_ / "sub");
  RegistryFile registry(blocked);
  std::filesystem::rename(folder_ / "sub", folder_ / "away");
  Created(registry.CurrentUser(), "K")->WriteNumber("N", 7);
  EXPECT_EQ(Attempt([&] { registry.Save(); }).description,
            "Cannot write the registry file " + blocked.string() + ": No such file or directory");
  std::filesystem::rename(folder_ / "away", folder_ / "sub");
  registry.Save();
  EXPECT_TRUE(std::filesystem::exists(blocked));
}

}  // namespace
}  // namespace corvessa::desk
