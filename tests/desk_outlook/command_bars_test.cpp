#include <cstdint>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/error.h"
#include "desk/outlook/outlook_model.h"
#include "platform/clipboard.h"
#include "platform/picture.h"

namespace corvessa::desk {
namespace {

struct Clicks : platform::CommandBarButtonEvents {
  explicit Clicks(const platform::CommandBarButtonPtr& button)
      : subscription(button->Subscribe(*this)) {}
  void Click(bool&) override { ++count; }
  int count = 0;
  platform::Subscription subscription;
};

class CommandBarsTest : public ::testing::Test {
 protected:
  platform::CommandBarButtonPtr AddButton(Bars& bars, std::string_view caption,
                                          std::string_view tag) {
    auto bar = bars.Find("A Options");
    if (!bar) {
      bars.Add("A Options", true)->SetVisible(true);
      bar = bars.Find("A Options");
    }
    const auto button = bar->AddButton(true);
    button->SetCaption(caption);
    button->SetTag(tag);
    return button;
  }

  OutlookModel model;
  InspectorWindowPtr window = model.Open(model.NewMail());
};

TEST_F(CommandBarsTest, ABarsButtonsAreSeenAsTheyWereSet) {
  const auto explorer = model.AddExplorer();
  EXPECT_EQ(explorer->CommandBars()->ItemByName("Standard")->Controls()->Count(), 2);
  const auto bars = window->CommandBars();
  const auto bar = bars->Add("A Options", true);
  EXPECT_EQ(bars->Count(), 4);
  EXPECT_EQ(bars->Item(4)->Name(), "A Options");
  EXPECT_EQ(Describe(window->Bars()), "A Options hidden position=1\n");
  bar->SetVisible(true);
  const auto button = bar->Controls()->AddButton(true);
  button->SetCaption("&Encrypt");
  button->SetTooltipText("Encrypt it");
  button->SetStyle(platform::kButtonIconAndCaption);
  button->SetFaceId(1087);
  button->SetState(platform::kButtonDown);
  button->SetBeginGroup(true);
  button->SetOnAction("!<A>");
  const auto second = bar->Controls()->AddButton(false);
  second->SetCaption("Sign");
  second->SetEnabled(false);
  second->SetVisible(false);
  EXPECT_EQ(Describe(window->Bars()),
            "A Options position=1\n"
            "  \"&Encrypt\" tip=\"Encrypt it\" style=3 face=1087 down group action=\"!<A>\"\n"
            "  \"Sign\" tip=\"\" style=0 face=0 disabled hidden permanent\n");
  button->Delete();
  EXPECT_EQ(bar->Controls()->Count(), 1);
  EXPECT_THROW(button->Caption(), Error);
  bar->Delete();
  EXPECT_EQ(bars->Count(), 3);
  EXPECT_EQ(Describe(window->Bars()), "");
  EXPECT_THROW(second->Caption(), Error);
  EXPECT_THROW(bar->Name(), Error);
}

TEST_F(CommandBarsTest, WhatIsNotThereIsAnError) {
  const auto bars = window->CommandBars();
  EXPECT_THROW(bars->ItemByName("None"), Error);
  EXPECT_THROW(bars->Item(0), Error);
  EXPECT_THROW(bars->Item(4), Error);
  EXPECT_THROW(bars->Add("Standard", true), Error);
  EXPECT_THROW(bars->ItemByName("Menu Bar")->Controls()->Item(1), Error);
}

TEST_F(CommandBarsTest, AClickReachesEveryButtonOfItsTagUntilItsWindowCloses) {
  const auto other = model.Open(model.NewMail());
  Clicks own(AddButton(window->Bars(), "&Decrypt/verify", "one"));
  Clicks same_tag(AddButton(other->Bars(), "Else", "one"));
  Clicks other_tag(AddButton(other->Bars(), "&Decrypt/verify", "two"));
  Clicks untagged(AddButton(window->Bars(), "Bare", ""));
  Clicks untagged_too(AddButton(window->Bars(), "Bare", ""));
  EXPECT_TRUE(OutlookModel::Click(window->Bars(), "Decrypt/verify"));
  EXPECT_TRUE(OutlookModel::Click(window->Bars(), "Bare"));
  EXPECT_EQ(own.count, 1);
  EXPECT_EQ(same_tag.count, 1);
  EXPECT_EQ(other_tag.count, 0);
  EXPECT_EQ(untagged.count + untagged_too.count, 1);
  const auto button = window->Bars().FindButton("Decrypt/verify");
  model.Close(other);
  EXPECT_TRUE(button->Click());
  EXPECT_EQ(own.count, 2);
  EXPECT_EQ(same_tag.count, 1);
}

TEST_F(CommandBarsTest, AHiddenOrDisabledButtonCannotBeClicked) {
  const auto button = AddButton(window->Bars(), "A", "a");
  Clicks clicks(button);
  button->SetEnabled(false);
  EXPECT_FALSE(OutlookModel::Click(window->Bars(), "A"));
  button->SetEnabled(true);
  button->SetVisible(false);
  EXPECT_FALSE(OutlookModel::Click(window->Bars(), "A"));
  button->SetVisible(true);
  window->Bars().Find("A Options")->SetVisible(false);
  EXPECT_FALSE(OutlookModel::Click(window->Bars(), "A"));
  EXPECT_FALSE(OutlookModel::Click(window->Bars(), "None"));
  EXPECT_EQ(clicks.count, 0);
}

TEST_F(CommandBarsTest, AButtonMayDeleteItselfAndItsWindowInItsClick) {
  struct Closing : platform::CommandBarButtonEvents {
    void Click(bool&) override {
      model->Close(window);
      subscription.reset();
    }
    OutlookModel* model = nullptr;
    InspectorWindowPtr window;
    platform::Subscription subscription;
  } closing;
  closing.model = &model;
  closing.window = window;
  closing.subscription = AddButton(window->Bars(), "A", "a")->Subscribe(closing);
  EXPECT_TRUE(OutlookModel::Click(window->Bars(), "A"));
  EXPECT_TRUE(model.Inspectors().empty());
}

/// Blocks by format name; holds no picture.
struct Blocks : platform::Clipboard {
  void SetPicture(const platform::Picture&) override {}
  bool Open() override { return free; }
  void Close() override {}
  std::uint32_t RegisterFormat(std::string_view name) override {
    return name == "Toolbar Button Face" ? 100 : 101;
  }
  std::optional<std::vector<std::uint8_t>> GetData(std::uint32_t format) override {
    const auto found = blocks.find(format);
    return found == blocks.end() ? std::nullopt : std::optional(found->second);
  }
  bool SetData(std::uint32_t, const std::vector<std::uint8_t>&) override { return false; }
  bool free = true;
  std::map<std::uint32_t, std::vector<std::uint8_t>> blocks;
};

TEST(PasteFaceTest, TakesFaceAndMaskFromTheClipboard) {
  Blocks clipboard;
  OutlookModel model({.clipboard = &clipboard});
  const auto explorer = model.AddExplorer();
  explorer->Bars().Find("Standard")->AddButton(true);
  const auto button = explorer->Bars().Find("Standard")->Buttons().back();
  EXPECT_THROW(button->PasteFace(), Error);
  clipboard.blocks[platform::kClipboardDib] = {1};
  button->PasteFace();
  EXPECT_EQ(button->Look().pasted_face, std::vector<std::uint8_t>{1});
  EXPECT_EQ(button->Look().pasted_mask, std::nullopt);
  clipboard.blocks[100] = {2};
  clipboard.blocks[101] = {3};
  button->PasteFace();
  EXPECT_EQ(button->Look().pasted_face, std::vector<std::uint8_t>{2});
  EXPECT_EQ(button->Look().pasted_mask, std::vector<std::uint8_t>{3});
  clipboard.free = false;
  EXPECT_THROW(button->PasteFace(), Error);
}

}  // namespace
}  // namespace corvessa::desk
