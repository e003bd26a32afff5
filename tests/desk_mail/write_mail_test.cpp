#include <algorithm>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

#include "base/error.h"
#include "desk/mail/mail_io.h"
#include "mail_text.h"
#include "support/temp_folder.h"

namespace corvessa::desk::mail {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

Attachment File(const std::string& name, const std::string& bytes,
                const std::string& type = "application/octet-stream") {
  Attachment attachment;
  attachment.file_name = name;
  attachment.content_type = type;
  attachment.data = AttachmentData::FromBytes(bytes);
  return attachment;
}

std::string EveryByte(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * i + i / 251);
  return bytes;
}

Mail FullMail() {
  Mail mail;
  mail.from = {"Zoë \"Z\" Müller", "zoe@example.org"};
  mail.to = {{"", "a@example.com"}, {"Comma, Name", "b@example.com"}, {"山田太郎", "c@example.jp"}};
  for (int i = 0; i < 30; ++i)
    mail.cc.push_back({"Person number " + std::to_string(i), std::to_string(i) + "@example.com"});
  mail.reply_to = {{"", "\"odd local\"@example.com"}};
  mail.subject = "日本語とéの mixed 🔑 subject that is long enough to need several encoded words, é";
  mail.date = 1795230867;
  mail.fields = {{"X-Nimbra-NoSign", "True"},
                 {"X-Long", std::string(1000, 'x')},
                 {"X-Fake", "=?utf-8?Q?not_a_word?="}};
  mail.body_text = "text é\r\n";
  mail.body_html = "<p>é<img src='cid:pic@x'></p>";
  mail.attachments = {File("Übersicht (endgültig) für 2026.pdf", EveryByte(5000)),
                      File("quo\"te.txt", "té", "text/plain"), File("empty.bin", ""),
                      File("日本語の長い名前日本語の長い名前日本語の長い名前.docx", EveryByte(100)),
                      File(std::string(150, 'n') + ".txt", "x")};
  mail.attachments.insert(mail.attachments.begin(), File("pic.png", EveryByte(300), "image/png"));
  mail.attachments.front().is_inline = true;
  mail.attachments.front().content_id = "pic@x";
  return mail;
}

/// Every line 7-bit, at most 998 characters and ended by CRLF.
void ExpectFitForTheWire(const std::string& raw) {
  std::size_t start = 0;
  while (start < raw.size()) {
    const auto end = raw.find("\r\n", start);
    const auto line = raw.substr(start, end - start);
    EXPECT_LE(line.size(), 998U);
    EXPECT_TRUE(std::all_of(line.begin(), line.end(), [](char c) {
      return c == '\t' || (c >= 32 && c < 127);
    })) << line;
    if (end == std::string::npos) return;
    start = end + 2;
  }
}

TEST(WriteMail, IsReadByPythonAndByUsAsItWasMeant) {
  const corvessa::testing::TempFolder folder;
  const auto path = folder / "m.eml";
  auto plain = FullMail();
  plain.body_html.clear();
  plain.attachments.clear();
  auto html = FullMail();
  html.body_text.clear();
  for (const auto& mail : {FullMail(), plain, html, Mail{}}) {
    WriteMail(mail, path, MailPurpose::kDraft);
    ExpectFitForTheWire(ReadFile(path));
    EXPECT_EQ(Peer("read", path), Described(mail));
    EXPECT_EQ(Described(LoadMail(path)), Described(mail));
    EXPECT_EQ(FormatMail(LoadMail(path), MailPurpose::kDraft).size(), ReadFile(path).size());
  }
}

TEST(WriteMail, ArmourStandsAsItIsAndOtherTextDecodesToTheSameBytes) {
  const std::string armour =
      "-----BEGIN PGP MESSAGE-----\r\nComment: a\r\n\r\nhQEMA\r\n=abcd\r\n-----END PGP "
      "MESSAGE-----\r\n";
  const std::string header = "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=us-ascii\r\n";
  Mail mail;
  mail.from = {"", "a@b.org"};
  mail.body_text = armour;
  EXPECT_EQ(FormatMail(mail, MailPurpose::kDraft),
            "From: a@b.org\r\n" + header + "Content-Transfer-Encoding: 7bit\r\n\r\n" + armour);
  const std::vector<std::pair<std::string, std::string>> bodies = {
      {"From here\r\n.\r\n..\r\n", "=46rom here\r\n=2E\r\n..\r\n"},
      {"-- \r\ntab\t\r\n", "--=20\r\ntab=09\r\n"},
      {"a = b \r\n", "a =3D b=20\r\n"},
      {std::string("nul\0", 4) + "\f", "nul=00=0C"},
      {"end ", "end=20=\r\n"},
      {"", ""},
  };
  const corvessa::testing::TempFolder folder;
  for (const auto& [text, wire] : bodies) {
    mail.body_text = text;
    const auto raw = FormatMail(mail, MailPurpose::kDraft);
    EXPECT_EQ(raw.substr(raw.find("\r\n\r\n") + 4), wire);
    EXPECT_EQ(ParseMail(raw).body_text, text);
  }
  mail.body_text = "-----BEGIN PGP SIGNED MESSAGE-----\r\nHash: SHA256\r\n\r\né “x” " +
                   std::string(1200, 'w') + " \r\n- -----\r\nFrom me\r\n\r\nno end of line";
  WriteMail(mail, folder / "m", MailPurpose::kDraft);
  EXPECT_EQ(Peer("read", folder / "m"), Described(mail));
  EXPECT_EQ(LoadMail(folder / "m").body_text, mail.body_text);
}

TEST(WriteMail, EmbeddedMailsStayMailsWhereTheWayAllowsIt) {
  Mail outer;
  const auto inner = FormatMail(FullMail(), MailPurpose::kDraft);
  const std::string eight_bit = "Subject: caf\xE9\r\n\r\nbody";
  outer.attachments = {File("inner.eml", inner, "message/rfc822"),
                       File("8bit.eml", eight_bit, "message/rfc822")};
  const auto raw = FormatMail(outer, MailPurpose::kDraft);
  ExpectFitForTheWire(raw);
  const auto read = ParseMail("From: a@b\r\n" + raw);
  ASSERT_EQ(read.attachments.size(), 2U);
  EXPECT_EQ(read.attachments[0].content_type, "message/rfc822");
  EXPECT_EQ(read.attachments[0].data.Bytes(), inner);
  EXPECT_EQ(read.attachments[1].content_type, "application/octet-stream");
  EXPECT_EQ(read.attachments[1].data.Bytes(), eight_bit);
}

TEST(WriteMail, TravelsStampedAndWithoutBlindCopies) {
  Mail mail;
  mail.from = {"", "a@bücher.example"};
  mail.to = {{"", "b@example.com"}};
  mail.bcc = {{"", "hidden@example.com"}};
  mail.fields = {{"bcc", "hidden@x"}, {"Resent-Bcc", "hidden@x"}, {"X-Nimbra-NoSign", "True"}};
  const auto raw = FormatMail(mail, MailPurpose::kTravel);
  EXPECT_THAT(raw, Not(HasSubstr("hidden")));
  const auto sent = ParseMail(raw);
  EXPECT_LE(std::abs(*sent.date - time(nullptr)), 5);
  EXPECT_THAT(sent.message_id, ::testing::MatchesRegex("[0-9a-f-]{36}@xn--bcher-kva.example"));
  EXPECT_THAT(sent.fields, ElementsAre(HeaderField{"X-Nimbra-NoSign", "True"}));
  const auto draft = ParseMail(FormatMail(mail, MailPurpose::kDraft));
  EXPECT_THAT(draft.bcc, ElementsAre(Mailbox{"", "hidden@example.com"}));
  EXPECT_EQ(draft.message_id, "");
  EXPECT_FALSE(draft.date);
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
  mail.attachments[0].parameters = {{evil, evil}, {"charset", evil}};
  const auto read = ParseMail(FormatMail(mail, MailPurpose::kTravel));
  EXPECT_THAT(read.bcc, ElementsAre());
  const std::string harmless = "x  Bcc: evil@example.com    body";
  EXPECT_EQ(read.from, (Mailbox{harmless, "a@example.com"}));
  EXPECT_EQ(read.subject, harmless);
  EXPECT_EQ(read.message_id, "xBcc:evil@example.combody");
  EXPECT_THAT(read.fields, ElementsAre(HeaderField{"X-A", harmless}));
  ASSERT_EQ(read.attachments.size(), 1U);
  EXPECT_EQ(read.attachments[0].file_name, harmless);
  for (const std::string address :
       {"a@b, c@d", "a@b>\r\nBcc: c@d", "é@b", "a b@c", "a@b\nc", "<a@b"}) {
    Mail bad;
    bad.to = {{"", address}};
    EXPECT_THROW(FormatMail(bad, MailPurpose::kDraft), Error) << address;
  }
  mail.fields = {{"X: y\r\nBcc", "a@b"}};
  EXPECT_THROW(FormatMail(mail, MailPurpose::kDraft), Error);
}

/// While it lives, this process cannot write files beyond a size, as on a full disk.
class SmallDisk {
 public:
  explicit SmallDisk(rlim_t size) : handler_(signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{size, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~SmallDisk() {
    setrlimit(RLIMIT_FSIZE, &before_);
    signal(SIGXFSZ, handler_);
  }

 private:
  rlimit before_{};
  sighandler_t handler_;
};

TEST(WriteMail, FailedWritesLeaveWhatWasThere) {
  const corvessa::testing::TempFolder folder;
  const auto path = folder / "m.eml";
  WriteFile(path, "before");
  const auto mail = FullMail();
  const auto size = FormatMail(mail, MailPurpose::kDraft).size();
  for (std::size_t limit = 0; limit < size; limit += 97) {
    const SmallDisk disk(limit);
    EXPECT_THROW(WriteMail(mail, path, MailPurpose::kDraft), Error) << limit;
    EXPECT_THROW(mail.attachments[1].data.SaveTo(folder / "a"), Error);
    if (limit > 4500) break;
  }
  EXPECT_EQ(ReadFile(path), "before");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
  const int full = open("/dev/full", O_WRONLY);
  try {
    WriteMail(mail, full, MailPurpose::kDraft);
    ADD_FAILURE() << "written to a full disk";
  } catch (const Error& error) {
    EXPECT_EQ(error.description, "The mail cannot be written: the disk is full.");
  }
  close(full);
  try {
    WriteMail(mail, folder / "no" / "m.eml", MailPurpose::kDraft);
    ADD_FAILURE() << "written into no folder";
  } catch (const Error& error) {
    EXPECT_EQ(error.description, (folder / "no" / "m.eml").string() +
                                     " cannot be written: No such file or directory.");
  }
}

TEST(WriteMail, AttachedFilesAreTakenAsTheyWere) {
  const corvessa::testing::TempFolder folder;
  for (const std::size_t size : {0, 10, 300000}) {
    WriteFile(folder / "f", EveryByte(size));
    const auto data = AttachmentData::FromFile(folder / "f");
    WriteFile(folder / "f", "changed");
    data.SaveTo(folder / "copy");
    EXPECT_EQ(ReadFile(folder / "copy"), EveryByte(size));
    EXPECT_EQ(data.Size(), size);
    EXPECT_EQ(data.Bytes(), EveryByte(size));
  }
}

}  // namespace
}  // namespace corvessa::desk::mail
