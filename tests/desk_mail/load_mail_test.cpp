#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "base/error.h"
#include "desk/mail/mail_io.h"
#include "mail_text.h"
#include "support/temp_folder.h"

namespace corvessa::desk::mail {
namespace {

using ::testing::ElementsAre;
using ::testing::Field;

TEST(LoadMail, ReadsWhatPythonComposedAsPythonReadsIt) {
  const corvessa::testing::TempFolder folder;
  Peer("compose", folder.Path());
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
    auto path = entry.path();
    if (path.extension() != ".eml") continue;
    ++count;
    const auto described = Described(LoadMail(path));
    EXPECT_EQ(described, ReadFile(path.replace_extension(".txt"))) << path;
  }
  EXPECT_EQ(count, 15);
}

TEST(LoadMail, HeaderTextInEveryFormThatTravels) {
  const std::vector<std::pair<std::string, std::string>> subjects = {
      {"=?utf-8?B?w6k=?= =?UTF-8?b?w6jDqA==?=\r\n =?utf-8?B?w6k=?= end", "éèèé end"},
      {"=?utf-8?B?ww==?= =?utf-8?B?qQ==?=", "é"},
      {"=?utf-8?B?w6k=?= =?iso-8859-1?B?6Q==?= =?iso-8859-1?Q?=E9_x?=", "ééé x"},
      {"caf\xE9 raw", "café raw"},
      {"caf\xC3\xA9 raw", "café raw"},
      {"=?utf-8?Q?a=0D=0ABcc:_x@y?=", "a  Bcc: x@y"},
      {"=?unknown?Q?a?= =?utf-8?B?", "a =?utf-8?B?"},
  };
  for (const auto& [raw, subject] : subjects)
    EXPECT_EQ(ParseMail("Subject: " + raw + "\r\n\r\n").subject, subject) << raw;
  const auto mail = ParseMail(
      "From: =?utf-8?B?w6k=?= =?utf-8?B?w6k=?= <e@x.org>\nTo: Team: a@x.org, <b@x.org>;\n"
      "To: undisclosed-recipients:;\nReferences: <1@x>\n <2@x>\nX-Nimbra-NoSign:  True \n\n");
  EXPECT_EQ(mail.from, (Mailbox{"éé", "e@x.org"}));
  EXPECT_THAT(mail.to, ElementsAre(Mailbox{"", "a@x.org"}, Mailbox{"", "b@x.org"}));
  EXPECT_THAT(mail.references, ElementsAre("1@x", "2@x"));
  EXPECT_THAT(mail.fields, ElementsAre(HeaderField{"X-Nimbra-NoSign", "True"}));
  EXPECT_FALSE(mail.date);
}

TEST(LoadMail, NoRecipientVanishes) {
  const auto mail = ParseMail(
      "To: a@b.org; Bob Smith,\n =?utf-8?B?w6k=?= <c@d.org>\nCc: odd.@docomo.example\n"
      "Bcc: x@b\xC3\xBC"
      "cher.example, Half <h@x.org\n\n");
  EXPECT_THAT(mail.to, ElementsAre(Mailbox{"", "a@b.org"}, Mailbox{"Bob Smith", ""},
                                   Mailbox{"é", "c@d.org"}));
  EXPECT_THAT(mail.cc, ElementsAre(Mailbox{"", "odd.@docomo.example"}));
  EXPECT_THAT(mail.bcc,
              ElementsAre(Mailbox{"", "x@xn--bcher-kva.example"}, Mailbox{"Half", "h@x.org"}));
  const auto written = FormatMail(mail, MailPurpose::kDraft);
  EXPECT_THAT(written,
              ::testing::StartsWith("To: a@b.org, \"Bob Smith\", =?utf-8?B?w6k=?= <c@d.org>\r\n"
                                    "Cc: odd.@docomo.example\r\n"));
}

TEST(LoadMail, BodyTextWhateverItsLabelSays) {
  const std::vector<std::pair<std::string, std::string>> bodies = {
      {"charset=utf-8\n\ncaf\xE9 \x80", "café €"},
      {"charset=us-ascii\n\n\xC3\xA9", "é"},
      {"charset=iso-8859-1\n\n\x93x\x94", "“x”"},
      {"charset=no-such-thing\n\n\xE9", "é"},
      {"charset=utf-8\n\n\xC3\xA9 \xFF!", "é \uFFFD!"},
      {"charset=iso-2022-jp\n\n\x1B$B$\"\x1B(B \xFF", "あ \uFFFD"},
      {"charset=shift_jis\n\n\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E.\xC3\xA9", "日本語.é"},
      {"charset=utf-8\n\n\xEF\xBB\xBFmark", "mark"},
      {"charset=utf-8\n\na\r\nb\nc\rd\r\r\ne\n", "a\r\nb\r\nc\r\nd\r\ne\r\n"},
  };
  for (const auto& [raw, text] : bodies) {
    const auto mail = ParseMail("From: a@b\nContent-Type: text/plain; " + raw);
    EXPECT_EQ(mail.body_text, text) << raw;
    EXPECT_FALSE(mail.incomplete);
  }
}

std::string Multipart(const std::string& subtype, const std::vector<std::string>& parts) {
  const auto boundary = "b" + std::to_string(parts.size()) + subtype;
  auto text = "Content-Type: multipart/" + subtype + "; boundary=" + boundary + "\n\n";
  for (const auto& part : parts) text += "--" + boundary + "\n" + part + "\n";
  return text + "--" + boundary + "--\n";
}

/// Both bodies, then "name=data" of each attachment, one a line.
std::string Sorted(const std::string& raw) {
  const auto mail = ParseMail("From: a@b\n" + raw);
  auto text = mail.body_text + "\n" + mail.body_html + "\n";
  for (const auto& attachment : mail.attachments)
    text += attachment.file_name + "=" + attachment.data.Bytes() + "\n";
  return text;
}

TEST(LoadMail, SortsPartsIntoBodiesAndAttachments) {
  const std::string one = "\none", two = "Content-Type: text/plain\n\ntwo";
  const std::string html = "Content-Type: text/html\n\n<p>";
  const std::string file = "Content-Disposition: attachment; filename=f\n\nfile";
  EXPECT_EQ(Sorted(Multipart("mixed", {one, two, html})),
            "one\n\nATT00001.txt=two\nATT00002.htm=<p>\n");
  EXPECT_EQ(Sorted(Multipart("mixed", {file, two})), "two\n\nf=file\n");
  EXPECT_EQ(Sorted(Multipart("alternative", {one, Multipart("mixed", {html, file, html})})),
            "one\n<p>\nf=file\nATT00002.htm=<p>\n");
  EXPECT_EQ(Sorted(Multipart("signed", {one, "Content-Type: application/pgp-signature\n\ns"})),
            "one\n\nATT00001.asc=s\n");
  EXPECT_EQ(
      Sorted(Multipart("encrypted", {"Content-Type: application/pgp-encrypted\n\nVersion: 1",
                                     "Content-Type: application/octet-stream; name=e.asc\n\n-"})),
      "\n\nATT00001.dat=Version: 1\ne.asc=-\n");
  EXPECT_EQ(Sorted("Content-Type: message/rfc822\n\nSubject: a/b\n\nhi\n"),
            "\n\na-b.eml=Subject: a/b\r\n\r\nhi\r\n\n");
  EXPECT_EQ(Sorted("Content-Type: text/plain; name=msg.asc\n\narmour"), "armour\n\n");
  EXPECT_EQ(Sorted("Content-Type: multipart/mixed\n\n--X\n\nlost?\n"), "--X\r\n\r\nlost?\r\n\n\n");
}

TEST(LoadMail, AttachmentNamesAreSafeAndComplete) {
  const std::vector<std::pair<std::string, std::string>> names = {
      {"=\"=?utf-8?B?w6k=?= =?utf-8?B?w6k=?=.txt\"", "éé.txt"},
      {"*0*=utf-8''%e6%97; filename*1*=%a5; filename*2=.txt", "日.txt"},
      {"=\"../../etc/passwd\"", "passwd"},
      {"=\"C:\\\\temp\\\\..\\\\x.exe\"", "x.exe"},
      {"=\"..\"", "ATT00001.pdf"},
      {"*=utf-8''a%0d%0ab%00c", "a  b"},
      {"=\"caf\xE9 \xC0.txt\"", "café À.txt"},
      {"=two words.txt", "two words.txt"},
      {"=" + std::string(300, 'a') + ".pdf", std::string(196, 'a') + ".pdf"},
      {"*=utf-8''" + std::string(199, 'a') + "%C3%A9", std::string(199, 'a')},
  };
  for (const auto& [raw, name] : names) {
    const auto mail = ParseMail(
        "From: a@b\nContent-Type: application/pdf\nContent-Disposition: attachment; filename" +
        raw + "\n\n");
    EXPECT_THAT(mail.attachments, ElementsAre(Field(&Attachment::file_name, name))) << raw;
  }
}

std::string Failure(const std::filesystem::path& path) {
  try {
    LoadMail(path);
    return "loaded";
  } catch (const Error& error) {
    return std::to_string(error.number) + " " + error.description;
  }
}

TEST(LoadMail, BadFilesGiveOneClearLine) {
  const corvessa::testing::TempFolder folder;
  const auto path = folder / "m.eml";
  const auto name = path.string();
  EXPECT_EQ(Failure(path), "53 " + name + " cannot be read: No such file or directory.");
  EXPECT_EQ(Failure(folder.Path()), "75 " + folder.Path().string() + " is not a file.");
  WriteFile(path, "");
  EXPECT_EQ(Failure(path), "5 " + name + " is empty, not a mail message.");
  std::string rubbish;
  for (int i = 0; i < 5000; ++i) rubbish += static_cast<char>(i * 7 ^ i >> 4);
  for (const auto& text : {rubbish, std::string("\nno header\n"), std::string("x: y\n\nbody"),
                           std::string(5000, '\0')}) {
    WriteFile(path, text);
    EXPECT_EQ(Failure(path), "5 " + name + " is not a mail message.");
  }
  if (geteuid() == 0) return;
  chmod(path.c_str(), 0);
  EXPECT_EQ(Failure(path), "70 " + name + " cannot be read: Permission denied.");
}

TEST(LoadMail, CutMailsLoadAsFarAsTheyGo) {
  const std::string part =
      "Content-Transfer-Encoding: base64\nContent-Disposition: attachment\n\nAAECAwQFBgc=";
  const auto whole = "From: a@b\n" + Multipart("mixed", {"\none", part});
  EXPECT_FALSE(ParseMail(whole).incomplete);
  for (std::size_t length = 10; length < whole.size() - 3; ++length) {
    const auto mail = ParseMail(whole.substr(0, length));
    EXPECT_TRUE(mail.incomplete) << length;
    for (const auto& attachment : mail.attachments)
      EXPECT_TRUE(std::string("\0\1\2\3\4\5\6\7", 8).starts_with(attachment.data.Bytes()))
          << length;
  }
}

TEST(LoadMail, ExtremeMailsLoad) {
  const std::string file = "Content-Disposition: attachment; filename=f\n\nfile";
  const auto many = ParseMail("From: a@b\n" + Multipart("mixed", std::vector(10000, file)));
  ASSERT_EQ(many.attachments.size(), 10000U);
  EXPECT_EQ(many.attachments.back().data.Bytes(), "file");
  const auto huge = ParseMail("Subject: " + std::string(1000000, 'a') + "\nTo: a@b\n\nhi");
  EXPECT_EQ(huge.subject, std::string(1000000, 'a'));
  EXPECT_THAT(huge.to, ElementsAre(Mailbox{"", "a@b"}));
  std::string deep = "From: a@b\n";
  for (int i = 0; i < 5000; ++i)
    deep += "Content-Type: multipart/mixed; boundary=" + std::to_string(i) + "\n\n--" +
            std::to_string(i) + "\n";
  EXPECT_TRUE(ParseMail(deep).incomplete);
}

TEST(LoadMail, GivesNoBytesOfAFileThatWasChangedSince) {
  const corvessa::testing::TempFolder folder;
  const auto path = folder / "m.eml";
  WriteFile(path, "From: a@b\nContent-Disposition: attachment\n\nbytes");
  const auto data = LoadMail(path).attachments.at(0).data;
  EXPECT_EQ(data.Bytes(), "bytes");
  std::filesystem::rename(path, folder / "moved.eml");
  EXPECT_EQ(data.Size(), 5U);
  WriteFile(folder / "moved.eml", "From: somebody else\n\n");
  EXPECT_THROW(data.SaveTo(folder / "out"), Error);
  EXPECT_FALSE(std::filesystem::exists(folder / "out"));
}

}  // namespace
}  // namespace corvessa::desk::mail
