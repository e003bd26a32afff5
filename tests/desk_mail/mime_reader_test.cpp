#include "desk/mail/mime_reader.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "base/text.h"
#include "engine/profile.h"
#include "mime/mime_reader.h"

namespace corvessa::testing {
namespace {

std::string Coverage(const platform::MimeCoverage& coverage) {
  std::string text = " by";
  for (const std::size_t number : coverage) text += " " + std::to_string(number);
  return text;
}

std::string Describe(const platform::MimeMessage& message) {
  std::string text = message.is_mime ? "MIME" : "text";
  if (message.subject) text += " \"" + *message.subject + "\"";
  text += Coverage(message.text_signed_by) + "\n" + message.text + "\n";
  for (const auto& file : message.files) {
    text += file.name + ", " + file.content_type + Coverage(file.signed_by) +
            (file.is_signature ? ", signature: " : ": ") + file.bytes + "\n";
  }
  for (const auto& signature : message.signatures) {
    text += "signed \"" + signature.subject.value_or("-") + "\": " + signature.content + "\n" +
            signature.signature + "\n";
  }
  return text;
}

std::string ReadByLibrary(const std::string& mail) {
  return Describe(desk::mail::MimeReader().Read(mail));
}

std::string ReadWithoutLibrary(const std::string& mail) {
  return Describe(mime::MimeReader().Read(mail));
}

/// Header lines and a body, with CRLF line ends.
std::string Mail(const std::string& text) {
  return WithCrLf(text);
}

void ExpectReadAlike(const std::string& mail) {
  EXPECT_EQ(ReadWithoutLibrary(mail), ReadByLibrary(mail));
  // Some systems deliver mail with bare line feeds; what is signed has CRLF all the same.
  const std::string on_unix = Replace(mail, "\r\n", "\n");
  EXPECT_EQ(ReadWithoutLibrary(on_unix), ReadByLibrary(on_unix));
}

/// What the encrypted part of a mail holds; nothing for a mail without one.
std::string Decrypted(engine::Profile& reader, const platform::MimeMessage& mail) {
  for (const auto& part : mail.files) {
    const auto path = reader.Write("part", part.bytes);
    if (reader.engine->DecryptFileEx(path, nullptr) == 0) return ContentOf(path);
  }
  return {};
}

TEST(MimeReaders, ReadTheCorpusAlikeOutsideAndInside) {
  const std::filesystem::path folder = CORVESSA_MAIL_CORPUS;
  engine::Profile rita;
  rita.Import(ContentOf(folder / "rita.asc"));
  rita.Unlock("rita@example.net");
  int mails = 0;
  int insides = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() != ".eml") continue;
    SCOPED_TRACE(entry.path().filename());
    const std::string mail = ContentOf(entry.path());
    ExpectReadAlike(mail);
    ++mails;
    const std::string inside = Decrypted(rita, mime::MimeReader().Read(mail));
    if (inside.empty()) continue;
    ExpectReadAlike(inside);
    ++insides;
  }
  EXPECT_GE(mails, 10);
  EXPECT_GE(insides, 9);
}

TEST(MimeReaders, ReadEachFormAlike) {
  struct Case {
    const char* mail;
    const char* told;
  };
  const Case cases[] = {
      {"no header at all\n", "text by\nno header at all\r\n\n"},
      {"Subject: a mail\n\nwithout MIME\n", "text by\nSubject: a mail\r\n\r\nwithout MIME\r\n\n"},
      {"Content-Type: text/plain\nSubject: =?utf-8?B?w5xiZXI=?=\n =?utf-8?q?_uns?= us\n\nx\n",
       "MIME \"Über uns us\" by\nx\r\n\n"},
      {"Content-Type: text/html; charset=iso-8859-1\nContent-Transfer-Encoding: quoted-printable\n"
       "\n<p>gr=FCn<img src=3D\"http://x\"></p>=\n<p>rot</p>",
       "MIME by\ngrün\r\n\r\nrot\n"},
      {"Content-Type: multipart/alternative; boundary=a\n\n--a\nContent-Type: "
       "text/html\n\n<b>h</b>\n"
       "--a\nContent-Type: text/plain\n\nplain\n--a--\n",
       "MIME by\nplain\n"},
      {"Content-Type: multipart/mixed; boundary=\"a\"\n\npreamble\n--ab\nno part\n--a\n\nfirst\n"
       "--a \nContent-Type: text/plain; name*0*=utf-8''%C3%A4; name*1=\".txt\"\n"
       "Content-Transfer-Encoding: base64\n\nZmlsZQ==\n--a--\nepilogue\n",
       "MIME by\nfirst\nä.txt, text/plain by: file\n"},
      {"Content-Type: multipart/mixed; boundary=a\n\n--a\n\nfirst\n--a\nContent-Type: "
       "message/rfc822\n\nSubject: in a mail\n\nx\n--a\nContent-Type: application/x; name=\"\"\n\n"
       "y\n--a--\n",
       "MIME by\nfirst\nin a mail.eml, message/rfc822 by: Subject: in a mail\r\n\r\nx\n"
       "ATT00002.dat, application/x by: y\n"},
      {"Content-Type: multipart/mixed; boundary=a\n\n--a\n\nfirst\n--a\n\nnever ends", nullptr},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.mail);
    const std::string mail = Mail(one.mail);
    if (one.told) {
      EXPECT_EQ(ReadByLibrary(mail), one.told);
    }
    EXPECT_EQ(ReadWithoutLibrary(mail), ReadByLibrary(mail));
  }
}

TEST(MimeReaders, TakeLinearTimeAndLittleStackForAnyMail) {
  std::string deep;
  for (int i = 0; i < 20'000; ++i) {
    const std::string boundary = std::to_string(i);
    deep +=
        "Content-Type: multipart/signed; boundary=" + boundary + "\r\n\r\n--" + boundary + "\r\n";
  }
  const std::string wide = "Content-Type: multipart/mixed; boundary=a\r\n" +
                           Replace(std::string(100'000, 'x'), "x", "--a\r\n");
  for (const std::string& mail : {deep, wide}) {
    const auto message = mime::MimeReader().Read(mail);
    EXPECT_LE(message.files.size(), 2000U);
    EXPECT_TRUE(message.signatures.empty());
  }
}

}  // namespace
}  // namespace corvessa::testing
