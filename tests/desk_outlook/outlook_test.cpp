#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/guard.h"
#include "base/html_text.h"
#include "desk/outlook/outlook_model.h"
#include "support/temp_folder.h"

namespace corvessa::desk {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Lines = std::vector<std::string>;

/// Sinks all events of the model's windows and of the items it watches, a line for each.
class EventsTest : public ::testing::Test,
                   public platform::ApplicationEvents,
                   public platform::InspectorsEvents {
 protected:
  struct Sink : platform::InspectorEvents, platform::MailItemEvents {
    Sink(EventsTest& owner, std::string about) : test(owner), name(std::move(about)) {}
    void Activate() override { test.Note("activate " + name); }
    void Deactivate() override { test.Note("deactivate " + name); }
    void Close() override { test.Note("window close " + name); }
    void Open(bool& cancel) override { cancel = test.Note("open " + name); }
    void Read() override { test.Note("read " + name); }
    void PropertyChange(std::string_view property) override {
      test.Note(std::string(property) + " of " + name);
    }
    void Close(bool& cancel) override { cancel = test.Note("close " + name); }
    void AttachmentRead(const platform::AttachmentPtr&) override {}
    void Reply(const platform::MailItemPtr&, bool&) override {}
    void ReplyAll(const platform::MailItemPtr&, bool&) override {}
    void Forward(const platform::MailItemPtr&, bool&) override {}
    EventsTest& test;
    std::string name;
    platform::Subscription subscription;
  };

  /// An item of that subject, watched.
  ItemPtr Added(const std::string& subject, std::string_view folder = kInbox) {
    ItemData data;
    data.subject = subject;
    data.folder = folder;
    const ItemPtr item = folder == kInbox ? model.AddReceived(data) : model.AddItem(data);
    sinks_.push_back(std::make_unique<Sink>(*this, subject));
    sinks_.back()->subscription = item->Subscribe(*sinks_.back());
    return item;
  }
  Lines Take() { return std::exchange(lines_, {}); }
  /// True when the line's event is to be cancelled.
  bool Note(const std::string& line) {
    lines_.push_back(line);
    if (during) during(line);
    return line == cancelled;
  }
  void ItemSend(const platform::MailItemPtr& item, bool& cancel) override {
    cancel = Note("send " + item->Subject());
  }
  void NewInspector(const platform::InspectorPtr& inspector) override {
    const std::string subject = inspector->CurrentItem()->Subject();
    sinks_.push_back(std::make_unique<Sink>(*this, subject));
    sinks_.back()->subscription = inspector->Subscribe(*sinks_.back());
    Note("new inspector " + subject);
  }

  OutlookModel model;
  std::function<void(const std::string& line)> during;
  std::string cancelled;

 private:
  Lines lines_;
  std::vector<std::unique_ptr<Sink>> sinks_;
  platform::Subscription sends_ = model.Application()->Subscribe(*this);
  platform::Subscription windows_ = model.Application()->Inspectors()->Subscribe(*this);
};

TEST_F(EventsTest, WindowsOpenActivateAndCloseInOutlooksOrder) {
  const auto first = model.Open(Added("a"));
  EXPECT_THAT(Take(), ElementsAre("new inspector a", "read a", "open a", "activate a"));
  const auto second = model.Open(Added("b"));
  EXPECT_THAT(Take(),
              ElementsAre("new inspector b", "read b", "open b", "deactivate a", "activate b"));
  EXPECT_EQ(model.Open(first->ShownItem()), first);
  EXPECT_THAT(Take(), ElementsAre("deactivate b", "activate a"));
  // A closing window is not closed twice, and is still the active one.
  during = [&](const std::string& line) {
    if (line != "close a") return;
    EXPECT_FALSE(model.Close(first));
    EXPECT_EQ(model.Application()->ActiveInspector(), first);
  };
  EXPECT_TRUE(model.Close(first));
  EXPECT_THAT(Take(), ElementsAre("close a", "deactivate a", "window close a", "activate b"));
  EXPECT_FALSE(model.Close(first));
  EXPECT_TRUE(model.Close(second));
  EXPECT_THAT(Take(), ElementsAre("close b", "deactivate b", "window close b"));
  EXPECT_EQ(model.Application()->ActiveInspector(), nullptr);
}

TEST_F(EventsTest, CancellingOpenOrCloseIsHonoured) {
  const auto item = Added("a");
  cancelled = "open a";
  EXPECT_EQ(model.Open(item), nullptr);
  EXPECT_THAT(Take(), ElementsAre("new inspector a", "read a", "open a", "window close a"));
  cancelled = "close a";
  const auto window = model.Open(item);
  Take();
  item->EditBody("changed");
  EXPECT_FALSE(model.Close(window));
  EXPECT_THAT(Take(), ElementsAre("Body of a", "close a"));
  EXPECT_EQ(*item->Data().body, "changed");
  EXPECT_EQ(model.Application()->ActiveInspector(), window);
}

TEST_F(EventsTest, SendingDeliversTheItemAsItIsAfterItemSend) {
  const auto item = Added("d", kDrafts);
  const auto window = model.Open(item);
  item->EditBody("plain");
  Take();

  cancelled = "send d";
  EXPECT_FALSE(model.Send(item));
  EXPECT_THAT(Take(), ElementsAre("send d"));
  EXPECT_THAT(model.Sent(), IsEmpty());
  EXPECT_EQ(item->Stored(), nullptr);

  cancelled.clear();
  during = [&](const std::string& line) {
    if (line == "send d") {
      EXPECT_FALSE(model.Close(window));
      item->EditBody("armoured");
    } else if (line == "close d") {
      EXPECT_EQ(item->ParentName(), "Outbox");
      item->EditBody("too late");
    }
  };
  std::vector<std::string> delivered;
  model.OnDeliver([&](const ItemData& data) { delivered.push_back(*data.body); });
  ASSERT_TRUE(model.Send(item));
  EXPECT_THAT(Take(), ElementsAre("send d", "Body of d", "close d", "Body of d", "deactivate d",
                                  "window close d"));
  EXPECT_THAT(delivered, ElementsAre("armoured"));
  EXPECT_EQ(*item->Stored()->body, "armoured");

  const auto undelivered = model.NewMail();
  model.OnDeliver([](const ItemData&) { Raise(kPathFileAccess); });
  EXPECT_THROW(model.Send(undelivered), Error);
  EXPECT_THAT(model.ItemsIn(kOutbox), ElementsAre(undelivered));
  EXPECT_EQ(model.Sent().size(), 1U);
}

struct Clicks : platform::CommandBarButtonEvents {
  Clicks(InspectorWindow& window, std::string_view tag) {
    const auto button = window.Bars().Find("Standard")->AddButton(true);
    button->SetCaption("&Decrypt/verify");
    button->SetTag(tag);
    subscription = button->Subscribe(*this);
  }
  void Click(bool&) override {
    ++count;
    if (during) during();
  }
  int count = 0;
  std::function<void()> during;
  platform::Subscription subscription;
};

TEST(ClickTest, ReachesEveryButtonOfItsTagUntilItsWindowCloses) {
  OutlookModel model;
  const auto window = model.Open(model.NewMail());
  const auto other = model.Open(model.NewMail());
  Clicks own(*window, "one"), same_tag(*other, "one"), other_tag(*other, "two");
  EXPECT_TRUE(OutlookModel::Click(window->Bars(), "Decrypt/verify"));
  model.Close(other);
  // The button may go, with its window, in its own click.
  own.during = [&] {
    model.Close(window);
    own.subscription.reset();
  };
  EXPECT_TRUE(OutlookModel::Click(window->Bars(), "Decrypt/verify"));
  EXPECT_EQ(own.count, 2);
  EXPECT_EQ(same_tag.count, 1);
  EXPECT_EQ(other_tag.count, 0);
}

platform::SharedText Text(std::string text) {
  return std::make_shared<const std::string>(std::move(text));
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
      {"is <A class=x HREF = 'https://x.org/?a=1&amp;b=2'>here</A>.",
       "is here <https://x.org/?a=1&b=2>."},
      {"<a href=http://x.org/>x.org</a> <a href='#top'>up</a> <a name=a>b</a>", "x.org up b"},
      {"<a data-href=y href=\"mailto:a@x.org\">a@x.org</a><a href=z><img></a><a href=u>v",
       "a@x.org<z>v <u>"},
  };
  for (const auto& [html, text] : cases) EXPECT_EQ(HtmlToText(html), text) << html;
  EXPECT_EQ(HtmlToText(TextToHtml("<a> & b\r\n\r\nc")), "<a> & b\r\n\r\nc");
}

/// Fails halfway.
class BreakingContent final : public Content {
 public:
  std::unique_ptr<ContentReader> Open() const override {
    class Reader final : public ContentReader {
      std::size_t Read(char* buffer, std::size_t size) override {
        if (std::exchange(has_begun_, true)) Raise(kPathFileAccess);
        return std::string("half").copy(buffer, size);
      }
      bool has_begun_ = false;
    };
    return std::make_unique<Reader>();
  }
};

class AttachmentsTest : public ::testing::Test {
 protected:
  AttachmentsTest() : model({.map_path = [this](std::string_view path) { return Local(path); }}) {}
  std::filesystem::path Local(std::string_view windows_path) const {
    return folder / std::string(windows_path.substr(3));
  }
  mode_t Mode(const std::string& name) const {
    struct stat status {};
    EXPECT_EQ(::stat((folder / name).c_str(), &status), 0);
    return status.st_mode & 0777;
  }

  testing::TempFolder folder;
  OutlookModel model;
};

TEST_F(AttachmentsTest, AreSavedPrivatelyOrNotAtAll) {
  const auto item = model.NewMail();
  const auto attachments = item->Attachments();
  item->AddAttachment({"embedded", "embedded", nullptr});
  item->AddAttachment({"kept", "kept", model.Keep("secret")});
  item->AddAttachment({"breaks", "breaks", std::make_shared<BreakingContent>()});
  item->AddAttachment({"gone", "gone", FileContent(folder / "none")});
  EXPECT_EQ(Attempt([&] { attachments->Item(1)->SaveAsFile("c:\\out"); }).description,
            "Cannot save the attachment. Cannot add the attachment; no data source was provided.");
  EXPECT_EQ(Attempt([&] { attachments->Item(3)->SaveAsFile("c:\\out"); }).number, kPathFileAccess);
  EXPECT_EQ(Attempt([&] { attachments->Item(4)->SaveAsFile("c:\\out"); }).number, kFileNotFound);
  EXPECT_EQ(Attempt([&] { attachments->Item(2)->SaveAsFile("c:\\no/out"); }).number, kPathNotFound);
  std::filesystem::create_symlink(folder / "target", folder / "link");
  attachments->Item(2)->SaveAsFile("c:\\link");
  EXPECT_FALSE(std::filesystem::exists(folder / "target"));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
  attachments->Item(2)->SaveAsFile("c:\\out");
  EXPECT_EQ(Mode("out"), 0600U);
}

/// The files that this process holds open although they have no name any more.
std::ptrdiff_t NamelessFiles() {
  std::ptrdiff_t count = 0;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    const auto target = std::filesystem::read_symlink(entry.path(), ignored).string();
    count += target.ends_with(" (deleted)") ? 1 : 0;
  }
  return count;
}

TEST(ContentTest, KeptContentsShareAFileWithoutANameThatGoesWithTheLast) {
  const testing::TempFolder folder;
  testing::WriteContent(folder / "a", std::string(100'000, 'a'));
  const auto before = NamelessFiles();
  auto store = std::make_unique<ContentStore>();
  auto first = store->Keep("1");
  EXPECT_EQ(Attempt([&] { store->CopyOf(folder / "none"); }).number, kFileNotFound);
  auto second = store->CopyOf(folder / "a");
  auto third = store->Keep("");
  std::filesystem::remove(folder / "a");
  first.reset();
  store.reset();
  EXPECT_EQ(second->Bytes(), std::string(100'000, 'a'));
  EXPECT_EQ(second->Start(2), "aa");
  EXPECT_EQ(third->Bytes(), "");
  EXPECT_EQ(NamelessFiles(), before + 1);
  second.reset();
  third.reset();
  EXPECT_EQ(NamelessFiles(), before);
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
  EXPECT_THAT(reply.recipients, ElementsAre(RecipientData{to, "Ann Other", "ann@example.org"}));
  EXPECT_THAT(reply.attachments, IsEmpty());
  EXPECT_EQ(reply.references, "<1@x> <2@x>");
  EXPECT_THAT(MakeReply(Original(), owner, true).recipients,
              ElementsAre(RecipientData{to, "Ann Other", "ann@example.org"},
                          RecipientData{to, "Bob", "bob@example.org"},
                          RecipientData{RecipientKind::kCc, "Cy", "cy@example.org"}));

  auto list_mail = Original();
  list_mail.reply_to = {{"", "list@example.org"}};
  EXPECT_THAT(MakeReply(list_mail, owner, false).recipients,
              ElementsAre(RecipientData{to, "list@example.org", "list@example.org"}));
  EXPECT_EQ(MakeForward(Original()).attachments.size(), 1U);
}

TEST(ResponsesTest, OnlyARealPrefixIsReplaced) {
  for (const auto& [subject, expected] : std::vector<std::pair<std::string, std::string>>{
           {"", "RE: "}, {"FW: a", "RE: a"}, {"10: a", "RE: 10: a"}, {"Re:a", "RE: Re:a"}}) {
    ItemData data;
    data.subject = subject;
    EXPECT_EQ(MakeReply(data, {}, false).subject, expected);
  }
}

}  // namespace
}  // namespace corvessa::desk
