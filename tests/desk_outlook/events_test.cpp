#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/error.h"
#include "desk/outlook/outlook_model.h"

namespace corvessa::desk {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Lines = std::vector<std::string>;

/// Sinks all events of the model's windows and of the items it watches, a line for each.
class EventsTest : public ::testing::Test,
                   public platform::ApplicationEvents,
                   public platform::ExplorersEvents,
                   public platform::InspectorsEvents {
 protected:
  EventsTest() {
    subscriptions_ = {model.Application()->Subscribe(*this),
                      model.Application()->Explorers()->Subscribe(*this),
                      model.Application()->Inspectors()->Subscribe(*this)};
  }

  ItemPtr Watched(const ItemPtr& item) {
    mails_.push_back(std::make_unique<Mail>(*this, item->Data().subject));
    mails_.back()->subscription = item->Subscribe(*mails_.back());
    return item;
  }
  ItemPtr Received(std::string subject, std::string body = "text") {
    ItemData data;
    data.sender = {"Ann", "ann@example.org"};
    data.subject = std::move(subject);
    data.body = std::make_shared<const std::string>(body);
    return Watched(model.AddReceived(std::move(data)));
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
  void NewExplorer(const platform::ExplorerPtr& explorer) override {
    Note("new explorer");
    folders_.push_back(std::make_unique<Folder>(*this));
    folders_.back()->subscription = explorer->Subscribe(*folders_.back());
  }
  void NewInspector(const platform::InspectorPtr& inspector) override {
    const std::string subject = inspector->CurrentItem()->Subject();
    windows_.push_back(std::make_unique<Window>(*this, subject));
    windows_.back()->subscription = inspector->Subscribe(*windows_.back());
    Note("new inspector " + subject);
  }

  struct Folder : platform::ExplorerEvents {
    explicit Folder(EventsTest& owner) : test(owner) {}
    void Close() override { test.Note("explorer close"); }
    EventsTest& test;
    platform::Subscription subscription;
  };
  struct Window : platform::InspectorEvents {
    Window(EventsTest& owner, std::string about) : test(owner), name(std::move(about)) {}
    void Activate() override { test.Note("activate " + name); }
    void Deactivate() override { test.Note("deactivate " + name); }
    void Close() override { test.Note("window close " + name); }
    EventsTest& test;
    std::string name;
    platform::Subscription subscription;
  };
  struct Mail : platform::MailItemEvents {
    Mail(EventsTest& owner, std::string about) : test(owner), name(std::move(about)) {}
    void AttachmentRead(const platform::AttachmentPtr& attachment) override {
      test.Note("attachment " + attachment->FileName() + " of " + attachment->ParentTypeName());
    }
    void Open(bool& cancel) override { cancel = test.Note("open " + name); }
    void Read() override { test.Note("read " + name); }
    void PropertyChange(std::string_view property) override {
      test.Note(std::string(property) + " of " + name);
    }
    void Close(bool& cancel) override { cancel = test.Note("close " + name); }
    void Reply(const platform::MailItemPtr& item, bool& cancel) override {
      cancel = test.Note("reply " + item->Subject());
    }
    void ReplyAll(const platform::MailItemPtr& item, bool& cancel) override {
      cancel = test.Note("reply all " + item->Subject());
    }
    void Forward(const platform::MailItemPtr& item, bool& cancel) override {
      cancel = test.Note("forward " + item->Subject());
    }
    EventsTest& test;
    std::string name;
    platform::Subscription subscription;
  };

  OutlookModel model;
  std::function<void(const std::string& line)> during;
  std::string cancelled;

 private:
  Lines lines_;
  std::vector<platform::Subscription> subscriptions_;
  std::vector<std::unique_ptr<Folder>> folders_;
  std::vector<std::unique_ptr<Window>> windows_;

 protected:
  std::vector<std::unique_ptr<Mail>> mails_;
};

TEST_F(EventsTest, WindowsOpenActivateAndCloseInOutlooksOrder) {
  const auto explorer = model.AddExplorer();
  EXPECT_EQ(model.Application()->ActiveExplorer(), explorer);
  const auto first = model.Open(Received("a"));
  EXPECT_THAT(Take(),
              ElementsAre("new explorer", "new inspector a", "read a", "open a", "activate a"));
  const auto second = model.Open(Received("b"));
  EXPECT_THAT(Take(),
              ElementsAre("new inspector b", "read b", "open b", "deactivate a", "activate b"));
  EXPECT_EQ(model.Open(first->ShownItem()), first);
  EXPECT_THAT(Take(), ElementsAre("deactivate b", "activate a"));
  EXPECT_EQ(model.Application()->ActiveInspector(), first);
  EXPECT_TRUE(model.Close(first));
  EXPECT_THAT(Take(), ElementsAre("close a", "deactivate a", "window close a", "activate b"));
  EXPECT_FALSE(model.Close(first));
  EXPECT_THROW(first->CommandBars(), Error);
  EXPECT_TRUE(model.Close(second));
  model.CloseExplorer(explorer);
  EXPECT_THAT(Take(), ElementsAre("close b", "deactivate b", "window close b", "explorer close"));
  EXPECT_EQ(model.Application()->ActiveInspector(), nullptr);
  EXPECT_EQ(model.Application()->ActiveExplorer(), nullptr);
  EXPECT_THROW(explorer->CommandBars(), Error);
}

TEST_F(EventsTest, CancellingOpenOrCloseIsHonoured) {
  const auto item = Received("a");
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

TEST_F(EventsTest, AWindowMayCloseInAnyEventOfItsOwnOpening) {
  for (const std::string at : {"new inspector a", "read a", "open a", "activate a"}) {
    const auto item = Received("a");
    during = [&](const std::string& line) {
      if (line != at) return;
      EXPECT_TRUE(model.Close(model.Inspectors().back())) << at;
    };
    EXPECT_EQ(model.Open(item), nullptr) << at;
    EXPECT_THAT(model.Inspectors(), IsEmpty()) << at;
    EXPECT_EQ(Take().back(), "window close a") << at;
    mails_.clear();
  }
}

TEST_F(EventsTest, AClosingWindowIsNotClosedTwiceAndIsStillTheActiveOne) {
  const auto window = model.Open(Received("a"));
  Take();
  during = [&](const std::string& line) {
    if (line != "close a") return;
    EXPECT_FALSE(model.Close(window));
    EXPECT_EQ(model.Application()->ActiveInspector(), window);
  };
  EXPECT_TRUE(model.Close(window));
  EXPECT_THAT(Take(), ElementsAre("close a", "deactivate a", "window close a"));
}

TEST_F(EventsTest, SinksThatEndInsideAnEventAreNotCalledAgain) {
  const auto item = Received("a");
  Watched(item);
  during = [&](const std::string&) {
    for (auto& mail : mails_) mail->subscription.reset();
  };
  item->EditBody("x");
  EXPECT_THAT(Take(), ElementsAre("Body of a"));
  // An event inside the event that ended the sink does not reach it either.
  Watched(item);
  during = [&](const std::string&) {
    during = nullptr;
    mails_.back()->subscription.reset();
    item->EditBody("y");
  };
  item->EditBody("z");
  EXPECT_THAT(Take(), ElementsAre("Body of a"));
}

TEST_F(EventsTest, SendingDeliversTheItemAsItStandsAfterItemSend) {
  ItemData draft;
  draft.subject = "d";
  draft.folder = kDrafts;
  const auto item = Watched(model.AddItem(draft));
  const auto window = model.Open(item);
  item->EditBody("plain");
  EXPECT_THAT(Take(), ElementsAre("new inspector d", "open d", "activate d", "Body of d"));

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
  EXPECT_EQ(*model.Sent().at(0).body, "armoured");
  EXPECT_THAT(model.ItemsIn(kSentItems), ElementsAre(item));
  EXPECT_EQ(*item->Stored()->body, "armoured");
}

TEST_F(EventsTest, AnItemThatCannotBeDeliveredStaysInTheOutbox) {
  const auto item = model.NewMail();
  model.OnDeliver([](const ItemData&) { Raise(kPathFileAccess); });
  EXPECT_THROW(model.Send(item), Error);
  EXPECT_THAT(model.ItemsIn(kOutbox), ElementsAre(item));
  EXPECT_THAT(model.Sent(), IsEmpty());
}

TEST_F(EventsTest, ResponsesAreOfferedBeforeTheyAreShown) {
  const auto item = Received("a");
  EXPECT_EQ(model.Reply(item)->Data().folder, kDrafts);
  cancelled = "reply all RE: a";
  EXPECT_EQ(model.ReplyAll(item), nullptr);
  EXPECT_NE(model.Forward(item), nullptr);
  item->AddAttachment({"x.txt", "x", nullptr});
  model.ReadAttachment(item, 1);
  EXPECT_THAT(Take(), ElementsAre("reply RE: a", "reply all RE: a", "forward FW: a",
                                  "attachment x.txt of MailItem"));
}

}  // namespace
}  // namespace corvessa::desk
