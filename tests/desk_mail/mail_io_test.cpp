#include "desk/mail/mail_io.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tuple>

#include "base/error.h"
#include "base/guard.h"
#include "desk/mail/mail.h"
#include "support/temp_folder.h"

namespace corvessa::desk::mail {
namespace {

using corvessa::testing::ContentOf;
using corvessa::testing::TempFolder;
using corvessa::testing::WriteContent;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;

TEST(LoadMail, HeaderTextInEveryFormThatTravels) {
  const std::vector<std::pair<std::string, std::string>> subjects = {
      {"=?utf-8?B?w6k=?= =?UTF-8?b?w6jDqA==?=\r\n =?utf-8?B?w6k=?= end", "éèèé end"},
      {"caf\xE9 raw", "café raw"},
      {"=?utf-8?Q?a=0D=0ABcc:_x@y?=", "a  Bcc: x@y"},
      {"=?unknown?Q?a?= =?utf-8?B?", "a =?utf-8?B?"},
  };
  for (const auto& [raw, subject] : subjects) {
    EXPECT_EQ(ParseMail("Subject: " + raw + "\r\n\r\n").subject, subject) << raw;
  }
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
}

TEST(LoadMail, BodyTextWhateverItsLabelSays) {
  const std::vector<std::pair<std::string, std::string>> bodies = {
      {"charset=utf-8\n\ncaf\xE9 \x80", "café €"},
      {"charset=iso-8859-1\n\n\x93x\x94", "“x”"},
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
  for (const auto& attachment : mail.attachments) {
    text += attachment.file_name + "=" + attachment.data->Bytes() + "\n";
  }
  return text;
}

const std::string kFile = "Content-Disposition: attachment; filename=f\n\nfile";

TEST(LoadMail, SortsPartsIntoBodiesAndAttachments) {
  const std::string one = "\none";
  const std::string html = "Content-Type: text/html\n\n<p>";
  EXPECT_EQ(Sorted(Multipart("mixed", {one, one, html})),
            "one\n\nATT00001.txt=one\nATT00002.htm=<p>\n");
  EXPECT_EQ(Sorted(Multipart("alternative", {one, Multipart("mixed", {html, kFile, html})})),
            "one\n<p>\nf=file\nATT00002.htm=<p>\n");
  EXPECT_EQ(Sorted("Content-Type: message/rfc822\n\nSubject: a/b\n\nhi\n"),
            "\n\na-b.eml=Subject: a/b\r\n\r\nhi\r\n\n");
  const std::string undivided = "Content-Type: multipart/mixed\n\n--X\n\nlost?\n";
  EXPECT_EQ(Sorted(undivided), "--X\r\n\r\nlost?\r\n\n\n");
  EXPECT_EQ(Sorted(Multipart("mixed", {one, undivided})), "one\n\nATT00001.txt=--X\n\nlost?\n\n");
}

TEST(LoadMail, AnEmbeddedMailKeepsEveryByteWhateverItIs) {
  const std::string odd("From: a\r\nno field\r\nX:\0 y\r\n\r\n-\0-\r\n", 33);
  const auto part = [](const std::string& content, const std::string& encoding) {
    return "Content-Type: message/rfc822\nContent-Disposition: attachment; filename=f\n"
           "Content-Transfer-Encoding: " +
           encoding + "\n\n" + content;
  };
  for (const auto& [content, encoding, bytes] : std::vector<std::array<std::string, 3>>{
           {odd, "8bit", odd},
           {"%PDF-1.4\nmore", "7bit", "%PDF-1.4\r\nmore"},
           {std::string(2000, 'x'), "7bit", std::string(2000, 'x')},
           {"\n\n\nwords", "7bit", "\r\n\r\n\r\nwords"},
           {"VG86CmEK", "base64", "To:\na\n"}}) {
    const auto raw = "From: a@b\n" + Multipart("mixed", {"\none", part(content, encoding)});
    const auto mail = ParseMail(raw);
    ASSERT_EQ(mail.attachments.size(), 1U);
    EXPECT_EQ(mail.attachments[0].data->Bytes(), bytes);
    const auto again = ParseMail(FormatMail(mail, MailPurpose::kDraft));
    EXPECT_EQ(again.attachments.at(0).data->Bytes(), bytes);
    EXPECT_EQ(again.attachments[0].content_type, "application/octet-stream") << content;
  }
}

TEST(LoadMail, AttachmentNamesAreSafeAndComplete) {
  const std::vector<std::pair<std::string, std::string>> names = {
      {"=\"=?utf-8?B?w6k=?= =?utf-8?B?w6k=?=.txt\"", "éé.txt"},
      {"*0*=utf-8''%e6%97; filename*1*=%a5; filename*2=.txt", "日.txt"},
      {"=\"../../etc/passwd\"", "passwd"},
      {"=\"C:\\\\temp\\\\..\\\\x.exe\"", "x.exe"},
      {"=\"C:\\dir\\win.txt\"; size=1", "win.txt"},
      {"=\"..\"", "__"},
      {"=\"...sig.sig\"", "__.sig.sig"},
      {"=\" \"", "ATT00001.pdf"},
      {"*=utf-8''a%0d%0ab%00c", "a  b"},
      {"=\"caf\xE9 \xC0.txt\"", "café À.txt"},
      {"=" + std::string(300, 'a') + ".pdf", std::string(196, 'a') + ".pdf"},
      {"=" + std::string(300, 'a') + ".pdf.sig", std::string(196, 'a') + ".pdf.sig"},
      {"*=utf-8''" + std::string(199, 'a') + "%C3%A9", std::string(199, 'a')},
  };
  for (const auto& [raw, name] : names) {
    const auto mail = ParseMail(
        "From: a@b\nContent-Type: application/pdf\nContent-Disposition: attachment; filename" +
        raw + "\n\n");
    EXPECT_THAT(mail.attachments, ElementsAre(Field(&Attachment::file_name, name))) << raw;
  }
}

TEST(LoadMail, BadFilesGiveOneClearLine) {
  const TempFolder folder;
  const auto path = folder / "m.eml";
  const auto name = path.string();
  const auto failure = [](const std::filesystem::path& of) {
    return Attempt([&] { LoadMail(of); }).description;
  };
  std::string rubbish;
  for (int i = 0; i < 5000; ++i) rubbish += static_cast<char>(i * 7 ^ i >> 4);
  for (const auto& text : {rubbish, std::string("\nno header\n"), std::string("x: y\n\nbody"),
                           std::string(5000, '\0')}) {
    WriteContent(path, text);
    EXPECT_EQ(failure(path), name + " is not a mail message.");
  }
  const auto repeated = [](std::string_view text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
  };
  // Without a limit these take minutes or exhaust the stack.
  for (const auto& field : {"To: " + repeated("a:", 90000), "Cc: " + repeated("a,", 90000),
                            "Bcc: " + repeated("a;", 90000), repeated("X: y\n", 90000),
                            "Subject: " + repeated("=?utf-8?B?AAAA", 50000),
                            "Content-Type: message/rfc822\n\nTo: " + repeated("a:", 90000),
                            "Subject: " + repeated("x\n ", 3'000'000),
                            Multipart("mixed", {"X: " + repeated("x\n ", 3'000'000) + "\n\none"}),
                            Multipart("mixed", {repeated("X:y\n", 200'000) + "\none"})}) {
    WriteContent(path, "From: a@b.c\n" + field + "\n\nbody");
    EXPECT_EQ(failure(path), name + " holds a header field that cannot be read.");
  }
  WriteContent(path, "From: a@b.c\nTo: b@b.c" + std::string(1, '\0') + ", c@b.c\n\nbody");
  EXPECT_EQ(failure(path), name + " holds a header field that cannot be read.");
  WriteContent(path, "From: a@b.c\nTo: " + repeated("A, B <a@b.c>, ", 20000) +
                         "\nSubject: " + repeated("=?utf-8?B?w6TDtg==?= ", 3000) + "\n\nbody");
  EXPECT_EQ(failure(path), "");
  // Lines of a body that look like a header behind a boundary.
  WriteContent(
      path, "From: a@b.c\n" + Multipart("mixed", {"\n--- a\n" + repeated("+x: y\n", 2'000'000)}));
  EXPECT_EQ(failure(path), "");
}

TEST(LoadMail, DecodesWhatOtherProgramsEncodeCarelessly) {
  const std::vector<std::array<std::string, 3>> contents = {
      {"base64", "U0VDT05EMQ==\r\nV09SRFM=\r\nIQ", "SECOND1WORDS!"},
      {"base64", "U0VDT05EMQ=\r\nV09S!RFM=", "SECOND1"},
      {"base64", "U0VD=T05EMQ==\r\n" + std::string(100'000, ' ') + "SQ", "SECOND1I"},
      {"base64", "U0VDT05EMQ==\r\n-- \r\nfooter", "SECOND1"},
      {"x-uuencode", "#0V%T\r\n`\r\n", "Cat"},
      {"x-uuencode", "words\r\nbegin 644 a\r\n#0V%T\r\n`\r\nend", "Cat"},
  };
  for (const auto& [encoding, content, bytes] : contents)
    EXPECT_EQ(Sorted("Content-Transfer-Encoding: " + encoding +
                     "\nContent-Disposition: attachment; filename=f\n\n" + content),
              "\n\nf=" + bytes + "\n");
  // What is declared uuencoded and is not is shown as it is.
  const std::tuple<std::string, std::string, bool> bodies[] = {
      {"Just words.\n", "Just words.\r\n", true},
      {"HELLO\n", "HELLO\r\n", true},
      {"\n#0V%T\n`\n", "Cat", false},
      {"", "", false}};
  for (const auto& [content, text, is_damaged] : bodies) {
    const auto mail = ParseMail("From: a@b\nContent-Transfer-Encoding: x-uuencode\n\n" + content);
    EXPECT_EQ(mail.body_text, text);
    EXPECT_EQ(mail.incomplete, is_damaged) << content;
  }
}

TEST(LoadMail, CutMailsLoadAsFarAsTheyGo) {
  const std::string part =
      "Content-Transfer-Encoding: base64\nContent-Disposition: attachment\n\nAAECAwQFBgc=";
  const auto whole = "From: a@b\n" + Multipart("mixed", {"\none", part});
  EXPECT_FALSE(ParseMail(whole).incomplete);
  for (std::size_t length = 10; length < whole.size() - 3; ++length) {
    const auto mail = ParseMail(whole.substr(0, length));
    EXPECT_TRUE(mail.incomplete) << length;
    for (const auto& attachment : mail.attachments) {
      EXPECT_TRUE(std::string("\0\1\2\3\4\5\6\7", 8).starts_with(attachment.data->Bytes()))
          << length;
    }
  }
}

TEST(LoadMail, AMailIsNotWholeWithLinesThatAreNoFieldOrPartsTooDeep) {
  EXPECT_TRUE(ParseMail("From: a@b\nTo: c@d\n, e@f\n\nbody").incomplete);
  EXPECT_TRUE(ParseMail("From: a@b\n" + Multipart("mixed", {"\none", "lost\n\ntwo"})).incomplete);
  EXPECT_FALSE(ParseMail("From a@b Sat\nFrom: a@b\n\n" + std::string(1, '\0')).incomplete);
  std::string deep = "From: a@b\n";
  for (int i = 0; i < 5000; ++i) {
    const std::string name = std::to_string(i);
    deep += "Content-Type: multipart/mixed; boundary=" + name + "\n\n--" + name + "\n";
  }
  EXPECT_TRUE(ParseMail(deep).incomplete);
}

TEST(LoadMail, GivesNoBytesOfAFileThatWasChangedSince) {
  const TempFolder folder;
  const auto path = folder / "m.eml";
  WriteContent(path, "From: a@b\nContent-Disposition: attachment\n\nbytes");
  const auto data = LoadMail(path).attachments.at(0).data;
  EXPECT_EQ(data->Bytes(), "bytes");
  std::filesystem::rename(path, folder / "moved.eml");
  WriteContent(folder / "moved.eml", "From: somebody else\n\n");
  EXPECT_THROW(data->Bytes(), Error);
}

Attachment File(const std::string& name, const std::string& bytes,
                const std::string& type = "application/octet-stream") {
  Attachment attachment;
  attachment.file_name = name;
  attachment.content_type = type;
  attachment.data = MemoryContent(bytes);
  return attachment;
}

TEST(WriteMail, ArmourIsKeptAsItIsAndOtherTextDecodesToTheSameBytes) {
  const std::string armour =
      "-----BEGIN PGP MESSAGE-----\r\nComment: a\r\n\r\nhQEMA\r\n=abcd\r\n-----END PGP "
      "MESSAGE-----\r\n";
  const std::string header = "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=utf-8\r\n";
  Mail mail;
  mail.from = {"", "a@b.org"};
  mail.body_text = armour;
  EXPECT_EQ(FormatMail(mail, MailPurpose::kDraft),
            "From: a@b.org\r\n" + header + "Content-Transfer-Encoding: 7bit\r\n\r\n" + armour);
  const std::vector<std::pair<std::string, std::string>> bodies = {
      {"From here\r\n.\r\n..\r\n", "=46rom here\r\n=2E\r\n..\r\n"},
      {"-- \r\ntab\t\r\n", "--=20\r\ntab=09\r\n"},
      {std::string("nul\0", 4) + "\f", "nul=00=0C"},
      {"end ", "end=20=\r\n"},
  };
  for (const auto& [text, wire] : bodies) {
    mail.body_text = text;
    const auto raw = FormatMail(mail, MailPurpose::kDraft);
    EXPECT_EQ(raw.substr(raw.find("\r\n\r\n") + 4), wire);
    EXPECT_EQ(ParseMail(raw).body_text, text);
  }
}

TEST(WriteMail, TravelsStampedAndWithoutBlindCopies) {
  Mail mail;
  mail.from = {"", "a@bücher.example"};
  mail.to = {{"", "b@example.com"}};
  mail.bcc = {{"", "hidden@example.com"}};
  mail.fields = {{"bcc", "hidden@x"},
                 {"Resent-Bcc", "hidden@x"},
                 {"x-bcc", "hidden@x"},
                 {"X-Nimbra-NoSign", "True"}};
  const auto raw = FormatMail(mail, MailPurpose::kTravel);
  EXPECT_THAT(raw, Not(HasSubstr("hidden")));
  const auto sent = ParseMail(raw);
  EXPECT_TRUE(sent.date);
  EXPECT_THAT(sent.message_id, ::testing::MatchesRegex("[0-9a-f-]{36}@xn--bcher-kva.example"));
  EXPECT_THAT(sent.fields, ElementsAre(HeaderField{"X-Nimbra-NoSign", "True"}));
  const auto draft = ParseMail(FormatMail(mail, MailPurpose::kDraft));
  EXPECT_THAT(draft.bcc, ElementsAre(Mailbox{"", "hidden@example.com"}));
}

TEST(WriteMail, ValuesCannotBreakOutOfTheirField) {
  const std::string evil = "x\r\nBcc: evil@example.com\r\n\r\nbody\n";
  Mail mail;
  mail.from = {evil, "a@example.com"};
  mail.subject = evil;
  mail.message_id = mail.in_reply_to = evil;
  mail.references = {evil};
  mail.fields = {{"X-A", evil}};
  mail.attachments = {File(evil, "d", evil)};
  mail.attachments[0].content_id = evil;
  const auto read = ParseMail(FormatMail(mail, MailPurpose::kTravel));
  EXPECT_THAT(read.bcc, ElementsAre());
  const std::string harmless = "x  Bcc: evil@example.com    body";
  EXPECT_EQ(read.from, (Mailbox{harmless, "a@example.com"}));
  EXPECT_EQ(read.subject, harmless);
  EXPECT_THAT(read.fields, ElementsAre(HeaderField{"X-A", harmless}));
  ASSERT_EQ(read.attachments.size(), 1U);
  EXPECT_EQ(read.attachments[0].file_name, harmless);
  for (const std::string address : {"a@b, c@d", "a@b>\r\nBcc: c@d", "a b@c", "a@b\nc", "<a@b"}) {
    Mail bad;
    bad.to = {{"", address}};
    EXPECT_THROW(FormatMail(bad, MailPurpose::kDraft), Error) << address;
  }
  mail.fields = {{"X: y\r\nBcc", "a@b"}};
  EXPECT_THROW(FormatMail(mail, MailPurpose::kDraft), Error);
}

}  // namespace
}  // namespace corvessa::desk::mail
