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
                   public platform::InspectorsEvents {
 protected:
  EventsTest() {
    subscriptions_ = {model.Application()->Subscribe(*this),
                      model.Application()->Inspectors()->Subscribe(*this)};
  }

  ItemPtr Watched(const ItemPtr& item) {
    mails_.push_back(std::make_unique<Mail>(*this, item->Data().subject));
    mails_.back()->subscription = item->Subscribe(*mails_.back());
    return item;
  }
  ItemPtr Received(std::string subject) {
    ItemData data;
    data.subject = std::move(subject);
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
  void NewInspector(const platform::InspectorPtr& inspector) override {
    const std::string subject = inspector->CurrentItem()->Subject();
    windows_.push_back(std::make_unique<Window>(*this, subject));
    windows_.back()->subscription = inspector->Subscribe(*windows_.back());
    Note("new inspector " + subject);
  }

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
    void AttachmentRead(const platform::AttachmentPtr&) override {}
    void Open(bool& cancel) override { cancel = test.Note("open " + name); }
    void Read() override { test.Note("read " + name); }
    void PropertyChange(std::string_view property) override {
      test.Note(std::string(property) + " of " + name);
    }
    void Close(bool& cancel) override { cancel = test.Note("close " + name); }
    void Reply(const platform::MailItemPtr&, bool&) override {}
    void ReplyAll(const platform::MailItemPtr&, bool&) override {}
    void Forward(const platform::MailItemPtr&, bool&) override {}
    EventsTest& test;
    std::string name;
    platform::Subscription subscription;
  };

  OutlookModel model;
  std::function<void(const std::string& line)> during;
  std::string cancelled;
  std::vector<std::unique_ptr<Mail>> mails_;

 private:
  Lines lines_;
  std::vector<platform::Subscription> subscriptions_;
  std::vector<std::unique_ptr<Window>> windows_;
};

TEST_F(EventsTest, WindowsOpenActivateAndCloseInOutlooksOrder) {
  const auto first = model.Open(Received("a"));
  EXPECT_THAT(Take(), ElementsAre("new inspector a", "read a", "open a", "activate a"));
  const auto second = model.Open(Received("b"));
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

TEST_F(EventsTest, SendingDeliversTheItemAsItIsAfterItemSend) {
  ItemData draft;
  draft.subject = "d";
  draft.folder = kDrafts;
  const auto item = Watched(model.AddItem(draft));
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
}

TEST_F(EventsTest, AnItemThatCannotBeDeliveredStaysInTheOutbox) {
  const auto item = model.NewMail();
  model.OnDeliver([](const ItemData&) { Raise(kPathFileAccess); });
  EXPECT_THROW(model.Send(item), Error);
  EXPECT_THAT(model.ItemsIn(kOutbox), ElementsAre(item));
  EXPECT_THAT(model.Sent(), IsEmpty());
}

struct Clicks : platform::CommandBarButtonEvents {
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
  Clicks own, same_tag, other_tag;
  const auto add = [](InspectorWindow& where, std::string_view tag, Clicks& clicks) {
    const auto button = where.Bars().Find("Standard")->AddButton(true);
    button->SetCaption("&Decrypt/verify");
    button->SetTag(tag);
    clicks.subscription = button->Subscribe(clicks);
  };
  add(*window, "one", own);
  add(*other, "one", same_tag);
  add(*other, "two", other_tag);
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

}  // namespace
}  // namespace corvessa::desk
