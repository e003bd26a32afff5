#include "message/message_operations.h"

#include <gmock/gmock.h>

#include "base/text.h"
#include "message/armour.h"
#include "message/status_text.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {
namespace {

using ::testing::ElementsAre;

TEST(Armour, IsFoundAtTheStartOfTheFirst72CharactersOnly) {
  const std::string marker = "-----BEGIN PGP MESSAGE-----";
  const std::string signed_marker = "-----BEGIN PGP SIGNED MESSAGE-----";
  for (const std::string& text : {marker, "  \r\n  \r\n" + marker + "\r\nVersion", marker + "x",
                                  std::string(500, ' ') + "\r\n" + marker}) {
    EXPECT_TRUE(IsPGPMessage(text)) << text;
    EXPECT_FALSE(IsPGPSignedMessage(text)) << text;
  }
  EXPECT_TRUE(IsPGPSignedMessage("   \r\n\r\n" + signed_marker + "\r\n"));
  for (const std::string& text :
       {std::string(), std::string("  \r\n "), "> " + marker, "\n" + marker, "\t" + marker,
        marker.substr(1), LCase(marker), "\xC2\xA0" + marker, "hello\r\n" + marker}) {
    EXPECT_FALSE(IsPGPMessage(text)) << text;
  }
  EXPECT_EQ(StripLeadingBlankLines("  \r\n  \r\n  a \r\n"), "a \r\n");
  EXPECT_EQ(StripLeadingBlankLines(" \r x"), "\r x");
}

TEST(StatusText, WordsEveryStatus) {
  const auto words = [](std::int32_t status) {
    return DecryptStatusText(status) + " / " + SignStatusText(status, false) + " / " +
           SignStatusText(status, true);
  };
  EXPECT_EQ(words(0), "is encrypted / is digitally signed / has an invalid digital signature");
  EXPECT_EQ(words(1), "is not encrypted / has an invalid digital signature / is digitally signed");
  EXPECT_EQ(words(2), "failed decryption ( 2) / is not digitally signed / is not digitally signed");
  EXPECT_EQ(words(-1),
            "failed decryption (-1) / failed digital signature verification (-1) / failed digital "
            "signature verification (-1)");
  EXPECT_EQ(words(5),
            "failed decryption ( 5) / failed digital signature verification ( 5) / failed digital "
            "signature verification ( 5)");
  // A signer must not be able to turn the line round or to break it.
  EXPECT_EQ(SignStatusTextWithSigners(0, "a\xE2\x80\xAE\r\n@b"), "is digitally signed by a@b");
  EXPECT_EQ(SignStatusTextWithSigners(1, "a@b"), "has an invalid digital signature");
}

class MessageOperations : public AddInFixture {};

TEST_F(MessageOperations, FindAttachmentsOfOneNameWhateverItsCase) {
  const auto item = outlook.NewMail();
  const auto add = [&](const std::string& name) {
    item->AddAttachment({name, "any", outlook.Keep("x"), "", ""});
    return HasDuplicateFilenames(item);
  };
  EXPECT_FALSE(HasDuplicateFilenames(item));
  EXPECT_FALSE(add("Report.PDF"));
  EXPECT_FALSE(add("report.pdf.sig"));
  EXPECT_FALSE(add("\xC3\x84.txt"));
  EXPECT_TRUE(add("\xC3\xA4.TXT"));
}

TEST_F(MessageOperations, AFailureReadsAsNothingThere) {
  const auto item = outlook.NewMail();
  EXPECT_FALSE(IsOptionsBarPresent(item));
  outlook.OnCall([](std::string_view) { throw Error{5, "lost"}; });
  EXPECT_EQ(GetSenderName(item), "");
  EXPECT_FALSE(SaveAndCheckBCC(item));
  EXPECT_THROW(HasBlindCopies(item), Error);
  EXPECT_EQ(GetSafeRecipients(item), nullptr);
  EXPECT_FALSE(HasDuplicateFilenames(item));
  EXPECT_FALSE(IsOptionsBarPresent(item));
  outlook.OnCall({});
  EXPECT_THAT(Trace(),
              ElementsAre("Checking for encryption and signing options bar", "Does not exist (1)",
                          ":GetSenderName - lost", ":SaveAndCheckBCC - lost",
                          ":GetSafeRecipients - lost", ":HasDuplicateFilenames - lost",
                          "Checking for encryption and signing options bar", "Does not exist (2)"));
  AllowError(":");
}

}  // namespace
}  // namespace corvessa::testing
