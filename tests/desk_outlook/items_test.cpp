#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "base/error.h"
#include "desk/outlook/html_text.h"
#include "desk/outlook/outlook_model.h"
#include "desk/outlook/responses.h"
#include "support/temp_folder.h"

namespace corvessa::desk {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

platform::SharedText Text(std::string text) {
  return std::make_shared<const std::string>(std::move(text));
}

template <class Call>
Error ErrorOf(Call call) {
  try {
    call();
  } catch (const Error& error) {
    return error;
  }
  return {};
}

TEST(BodiesTest, AnItemIsEitherPlainOrHtmlWithADerivedBody) {
  OutlookModel model;
  const auto item = model.NewMail();
  item->SetHTMLBody("<p>a &amp; b</p><p>c</p>");
  EXPECT_EQ(*item->Body(), "a & b\r\n\r\nc");
  EXPECT_EQ(*item->HTMLBody(), "<p>a &amp; b</p><p>c</p>");
  item->SetHTMLBody(*item->HTMLBody());
  EXPECT_EQ(*item->HTMLBody(), "<p>a &amp; b</p><p>c</p>");
  const auto before = item->Body();
  item->SetBody(*before);
  EXPECT_EQ(item->Body(), before) << "the same text is not copied";
  EXPECT_EQ(*item->HTMLBody(), "");
}

TEST(BodiesTest, BodyFormatIsThereFromOutlook2002On) {
  for (const std::string version : {"9.0.0.2711", "10.0.0.2627", "11.0.0.5510"}) {
    OutlookModel model({.version = version});
    const auto item = model.NewMail();
    item->EditHTMLBody("<b>x</b>");
    const Error error = ErrorOf([&] { item->SetBodyFormat(platform::kBodyFormatPlain); });
    const bool old = version[0] == '9';
    EXPECT_EQ(error.number, old ? 438 : 0) << version;
    EXPECT_EQ(*item->HTMLBody(), old ? "<b>x</b>" : "") << version;
    EXPECT_EQ(*item->Body(), "x") << version;
  }
}

TEST(BodiesTest, AnotherItemHasNoHtmlBody) {
  OutlookModel model;
  ItemData contact;
  contact.item_class = kContactClass;
  const auto item = model.AddItem(contact);
  EXPECT_EQ(item->TypeName(), "ContactItem");
  EXPECT_EQ(item->Class(), 40);
  item->SetBody("note");
  EXPECT_EQ(*item->Body(), "note");
  EXPECT_EQ(ErrorOf([&] { item->HTMLBody(); }).number, 438);
  EXPECT_EQ(ErrorOf([&] { item->SetHTMLBody("x"); }).number, 438);
}

TEST(BodiesTest, HtmlBecomesReadableText) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"", ""},
      {"<html><head><title>t</title><style>p{a:b}</style></head>\r\n<body>x</body></html>", "x"},
      {"a\r\n  b\t c", "a b c"},
      {"<div>one<br>two</div>\n<div>three</div>", "one\r\ntwo\r\nthree"},
      {"<p>a</p>\n<p>b<br><br>c", "a\r\n\r\nb\r\n\r\nc"},
      {"<pre>-----BEGIN\n  x\r\n\r\ny</pre>z", "-----BEGIN\r\n  x\r\n\r\ny\r\nz"},
      {"&lt;b&gt;&#228;&#x1F600;&uuml;&rsquo;&nbsp;&foo; & &#0;",
       "<b>\u00E4\U0001F600\u00FC\u2019 &foo; & &#0;"},
      {"1 < 2 <!-- gone <p> --> 3", "1 < 2 3"},
      {"<SCRIPT>if (a</b) x</SCRIPT >y", "y"},
      {"a<b", "a"},
      {"<ul><li>1<li>2</ul>", "1\r\n2"},
  };
  for (const auto& [html, text] : cases) EXPECT_EQ(HtmlToText(html), text) << html;
  EXPECT_EQ(HtmlToText(TextToHtml("<a> & b\r\n\r\nc")), "<a> & b\r\n\r\nc");
}

TEST(StoreTest, ClosingPutsTheItemBackToWhatWasSaved) {
  OutlookModel model;
  ItemData data;
  data.sender = {"Ann", "ann@example.org"};
  data.body = Text("armour");
  data.attachments = {std::make_shared<AttachmentData>()};
  const auto item = model.AddReceived(data);
  EXPECT_THAT(model.ItemsIn("Inbox"), ElementsAre(item));
  EXPECT_NE(item->EntryID(), "");

  auto window = model.Open(item);
  item->SetBody("plain");
  item->Attachments()->Remove(1);
  EXPECT_TRUE(model.Close(window));
  EXPECT_EQ(*item->Body(), "armour");
  EXPECT_EQ(item->Attachments()->Count(), 1);
  EXPECT_EQ(item->SavesByAddIn(), 0);

  window = model.Open(item);
  item->SetBody("changed by the user");
  EXPECT_TRUE(model.Close(window, OutlookModel::Closing::kSave));
  EXPECT_EQ(*item->Stored()->body, "changed by the user");

  const auto draft = model.NewMail();
  EXPECT_EQ(draft->EntryID(), "");
  draft->Save();
  EXPECT_NE(draft->EntryID(), item->EntryID());
  EXPECT_THAT(model.ItemsIn(kDrafts), ElementsAre(draft));
}

TEST(StoreTest, AnItemsWindowIsMadeWhenAskedForAndTheSameOneOpens) {
  OutlookModel model;
  const auto item = model.NewMail();
  const auto made = item->GetInspector();
  EXPECT_THAT(model.Inspectors(), IsEmpty());
  EXPECT_EQ(made->CurrentItem(), item);
  EXPECT_EQ(model.Open(item), made);
  EXPECT_TRUE(model.Close(item->Window()));
  model.SetWordMail(true);
  EXPECT_NE(item->GetInspector(), made);
  EXPECT_TRUE(item->GetInspector()->IsWordMail());
}

class AttachmentsTest : public ::testing::Test {
 protected:
  AttachmentsTest() : model({.map_path = [this](std::string_view path) { return Local(path); }}) {}
  std::filesystem::path Local(std::string_view windows_path) const {
    return folder / std::string(windows_path.substr(3));
  }
  void Write(const std::string& name, const std::string& content) {
    std::ofstream(folder / name, std::ios::binary) << content;
  }
  std::string Read(const std::string& name) {
    std::ifstream file(folder / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  testing::TempFolder folder;
  OutlookModel model;
};

TEST_F(AttachmentsTest, AreCopiesInOrderAndComeBackAsFiles) {
  const auto item = model.NewMail();
  const auto attachments = item->Attachments();
  const std::string big(200'000, 'x');
  Write("one.txt", big);
  attachments->Add("c:\\one.txt", "First");
  Write("one.txt", "two");
  attachments->Add("c:\\one.txt", "");
  std::filesystem::remove(folder / "one.txt");
  item->AddAttachment({"three.txt", "Third", model.Keep("3")});
  ASSERT_EQ(attachments->Count(), 3);
  EXPECT_EQ(attachments->Item(1)->DisplayName(), "First");
  EXPECT_EQ(attachments->Item(2)->DisplayName(), "one.txt");
  attachments->Remove(2);
  EXPECT_EQ(attachments->Item(2)->FileName(), "three.txt");

  Write("out", "an older, longer file");
  attachments->Item(2)->SaveAsFile("c:\\out");
  EXPECT_EQ(Read("out"), "3");
  attachments->Item(1)->SaveAsFile("c:\\new");
  EXPECT_EQ(Read("new"), big);
  struct stat status;
  ASSERT_EQ(::stat((folder / "new").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(AttachmentsTest, FailuresNameTheirCauseAndLeaveNoFile) {
  const auto item = model.NewMail();
  const auto attachments = item->Attachments();
  EXPECT_EQ(ErrorOf([&] { attachments->Add("c:\\none", ""); }).description,
            "Cannot find this file.  Verify the path and file name are correct.");
  EXPECT_EQ(attachments->Count(), 0);
  item->AddAttachment({"embedded", "embedded", nullptr});
  item->AddAttachment({"kept", "kept", model.Keep("secret")});
  const auto breaking = ProvidedContent([](const ContentSink& sink) {
    sink("half");
    Raise(kPathFileAccess);
  });
  item->AddAttachment({"breaks", "breaks", breaking});
  item->AddAttachment({"gone", "gone", FileContent(folder / "none")});
  EXPECT_EQ(ErrorOf([&] { attachments->Item(1)->SaveAsFile("c:\\out"); }).description,
            "Cannot save the attachment. Cannot add the attachment; no data source was provided.");
  EXPECT_EQ(ErrorOf([&] { attachments->Item(3)->SaveAsFile("c:\\out"); }).number, kPathFileAccess);
  EXPECT_EQ(ErrorOf([&] { attachments->Item(4)->SaveAsFile("c:\\out"); }).number, kFileNotFound);
  EXPECT_EQ(ErrorOf([&] { attachments->Item(2)->SaveAsFile("c:\\no/out"); }).number, kPathNotFound);
  std::filesystem::create_symlink(folder / "target", folder / "link");
  EXPECT_EQ(ErrorOf([&] { attachments->Item(2)->SaveAsFile("c:\\link"); }).number, kPathFileAccess);
  EXPECT_FALSE(std::filesystem::exists(folder / "out"));
  EXPECT_FALSE(std::filesystem::exists(folder / "target"));
  for (const int index : {0, 5, -1}) {
    EXPECT_EQ(ErrorOf([&] { attachments->Item(index); }).description, "Array index out of bounds.");
    EXPECT_EQ(ErrorOf([&] { attachments->Remove(index); }).description,
              "Array index out of bounds.");
  }
}

TEST(ContentTest, ThePrivateFolderGoesWithItsLastContent) {
  auto contents = std::make_shared<ContentFolder>();
  auto first = contents->Keep("1");
  auto second = contents->Keep("2");
  const auto path = contents->Path();
  struct stat status;
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700U);
  first.reset();
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(path), {}), 1);
  contents.reset();
  EXPECT_EQ(ReadAll(*second), "2");
  second.reset();
  EXPECT_FALSE(std::filesystem::exists(path));
}

ItemData Original() {
  ItemData data;
  data.sender = {"Ann Other", "ann@example.org"};
  data.recipients = {{RecipientKind::kTo, "Me", "me@example.org"},
                     {RecipientKind::kTo, "Bob", "bob@example.org"},
                     {RecipientKind::kCc, "Cy", "cy@example.org"},
                     {RecipientKind::kBcc, "Di", "di@example.org"}};
  data.subject = "Re: plans";
  data.received_time = "1/2/2000 10:00:00 AM";
  data.body = Text("line 1\r\nline 2\r\n");
  data.attachments = {std::make_shared<AttachmentData>(AttachmentData{"a", "a", nullptr})};
  data.message_id = "<2@x>";
  data.references = "<1@x>";
  return data;
}

TEST(ResponsesTest, QuoteTheItemAndAddressTheRightPeople) {
  const Person owner = {"Me", "ME@example.org"};
  const auto to = RecipientKind::kTo;
  const auto reply = MakeReply(Original(), owner, false);
  EXPECT_EQ(reply.subject, "RE: plans");
  EXPECT_EQ(*reply.body,
            "\r\n\r\n-----Original Message-----\r\n"
            "From: Ann Other [mailto:ann@example.org]\r\nSent: 1/2/2000 10:00:00 AM\r\n"
            "To: Me; Bob\r\nCc: Cy\r\nSubject: Re: plans\r\n\r\nline 1\r\nline 2\r\n");
  EXPECT_EQ(*reply.html, "");
  EXPECT_THAT(reply.recipients, ElementsAre(RecipientData{to, "Ann Other", "ann@example.org"}));
  EXPECT_THAT(reply.attachments, IsEmpty());
  EXPECT_EQ(reply.in_reply_to, "<2@x>");
  EXPECT_EQ(reply.references, "<1@x> <2@x>");
  EXPECT_EQ(reply.sender, Person{});

  EXPECT_THAT(MakeReply(Original(), owner, true).recipients,
              ElementsAre(RecipientData{to, "Ann Other", "ann@example.org"},
                          RecipientData{to, "Bob", "bob@example.org"},
                          RecipientData{RecipientKind::kCc, "Cy", "cy@example.org"}));

  auto list_mail = Original();
  list_mail.reply_to = {{"", "list@example.org"}};
  EXPECT_THAT(MakeReply(list_mail, owner, false).recipients,
              ElementsAre(RecipientData{to, "list@example.org", "list@example.org"}));

  const auto forward = MakeForward(Original());
  EXPECT_EQ(forward.subject, "FW: plans");
  EXPECT_THAT(forward.recipients, IsEmpty());
  ASSERT_EQ(forward.attachments.size(), 1U);
  EXPECT_EQ(forward.attachments[0]->file_name, "a");
}

TEST(ResponsesTest, OnlyARealPrefixIsReplaced) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"a", "RE: a"},         {"", "RE: "},        {"FW: a", "RE: a"}, {"Antw: a", "RE: Antw: a"},
      {"10: a", "RE: 10: a"}, {"Re:a", "RE: Re:a"}};
  for (const auto& [subject, expected] : cases) {
    ItemData data;
    data.subject = subject;
    EXPECT_EQ(MakeReply(data, {}, false).subject, expected);
  }
}

TEST(ResponsesTest, AnHtmlItemIsQuotedAsHtml) {
  auto original = Original();
  original.subject = "<b>";
  original.html = Text("<HTML><BODY bgcolor=white><p>text</p></BODY></HTML>");
  const auto reply = MakeReply(original, {}, false);
  EXPECT_TRUE(reply.html->starts_with("<HTML><BODY bgcolor=white><P>&nbsp;</P>"));
  EXPECT_EQ(*reply.body,
            " \r\n\r\n-----Original Message-----\r\nFrom: Ann Other [mailto:ann@example.org]\r\n"
            "Sent: 1/2/2000 10:00:00 AM\r\nTo: Me; Bob\r\nCc: Cy\r\nSubject: <b>\r\n\r\ntext");
}

}  // namespace
}  // namespace corvessa::desk
