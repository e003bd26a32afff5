#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "base/error.h"
#include "desk/outlook/outlook_model.h"

namespace corvessa::desk {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

constexpr std::int32_t kSmtpAddress = 972947486;

template <class Call>
long ErrorNumberOf(Call call) {
  try {
    call();
  } catch (const Error& error) {
    return error.number;
  }
  return 0;
}

TEST(SafeMailItemTest, SharesItsItemsFields) {
  OutlookModel model;
  const auto item = model.NewMail();
  const auto safe = model.Redemption().CreateSafeMailItem();
  EXPECT_EQ(ErrorNumberOf([&] { safe->SenderName(); }), kObjectNotSet);
  safe->SetItem(item);
  const auto tag = safe->GetIDsFromNames(kInternetHeaders, "X-A");
  const auto other = safe->GetIDsFromNames(kInternetHeaders, "X-B");
  EXPECT_EQ(tag & 0xFFFF, 0);
  EXPECT_LT(tag, 0) << "named properties begin at 0x8000";
  EXPECT_NE(tag, other);
  EXPECT_EQ(safe->Fields(tag | 30), "");
  safe->SetFields(tag | 30, "True");
  EXPECT_EQ(item->Stored(), nullptr);
  EXPECT_EQ(ErrorNumberOf([&] { safe->SetFields(tag | 3, "1"); }), kInvalidArgument);

  const auto again = model.Redemption().CreateSafeMailItem();
  again->SetItem(item);
  EXPECT_EQ(again->GetIDsFromNames(kInternetHeaders, "X-A"), tag);
  EXPECT_EQ(again->Fields(tag | 30), "True");
  EXPECT_EQ(again->Fields(other | 30), "");
  EXPECT_THAT(HeaderLines(item->Data()), ElementsAre(Pair("X-A", "True")));

  again->Save();
  EXPECT_EQ(item->SavesByAddIn(), 1);
  EXPECT_NE(item->EntryID(), "");
  EXPECT_THAT(HeaderLines(*item->Stored()), ElementsAre(Pair("X-A", "True")));
}

TEST(SafeMailItemTest, TellsSenderAndRecipients) {
  OutlookModel model;
  const auto item = model.NewMail();
  item->EditRecipients({{RecipientKind::kTo, "Ann", "ann@example.org"},
                        {RecipientKind::kBcc, "Bob", "", "id", {}},
                        {RecipientKind::kBcc, "", "cy@example.org", {}, "/o=x/cn=cy"}});
  const auto safe = model.Redemption().CreateSafeMailItem();
  safe->SetItem(item);
  EXPECT_EQ(safe->SenderName(), "");
  EXPECT_EQ(safe->BCC(), "Bob; cy@example.org");
  const auto recipients = safe->Recipients();
  ASSERT_EQ(recipients->Count(), 3);
  EXPECT_EQ(recipients->Item(1)->AddressEntry()->Address(), "ann@example.org");
  EXPECT_EQ(recipients->Item(2)->Address(), "");
  EXPECT_EQ(recipients->Item(2)->EntryID(), "id");
  EXPECT_EQ(recipients->Item(2)->AddressEntry(), nullptr);
  EXPECT_EQ(recipients->Item(3)->Name(), "cy@example.org");
  EXPECT_EQ(recipients->Item(3)->AddressEntry()->Address(), "/o=x/cn=cy");
  EXPECT_NE(ErrorNumberOf([&] { recipients->Item(4); }), 0);

  ItemData received;
  received.sender = {"", "ann@example.org"};
  safe->SetItem(model.AddReceived(received));
  EXPECT_EQ(safe->SenderName(), "ann@example.org");
}

TEST(DirectoryTest, EntriesAreReachedByListAndById) {
  OutlookModel model;
  model.AddressLists().AddList({{"Ann", "/o=x/cn=ann", "id1", "ann@example.org"},
                                {"Bad", "b", "id2", "", Error{7, "Out of memory"}}});
  model.AddressLists().AddList(std::vector<DirectoryEntry>(100'000, {"Cy", "cy@x", "", ""}));
  const auto lists = model.Redemption().CreateAddressLists();
  ASSERT_EQ(lists->Count(), 2);
  const auto entries = lists->Item(1)->AddressEntries();
  EXPECT_EQ(entries->Item(1)->ID(), "id1");
  EXPECT_EQ(ErrorNumberOf([&] { entries->Item(2)->Name(); }), 7);
  EXPECT_EQ(lists->Item(2)->AddressEntries()->Item(100'000)->Address(), "cy@x");
  const auto utils = model.Redemption().CreateMAPIUtils();
  EXPECT_EQ(utils->GetAddressEntryFromID("id1")->Fields(kSmtpAddress), "ann@example.org");
  EXPECT_EQ(ErrorNumberOf([&] { utils->GetAddressEntryFromID("none"); }), kMapiNotFound);
  const auto no_smtp = lists->Item(2)->AddressEntries()->Item(1);
  EXPECT_EQ(ErrorNumberOf([&] { no_smtp->Fields(kSmtpAddress); }), kMapiNotFound);
}

TEST(CdoTest, SessionsAreCreatedLoggedOnAndRefused) {
  OutlookModel model;
  model.Cdo().installed = false;
  EXPECT_EQ(ErrorNumberOf([&] { model.Cdo().CreateSession(); }), 429);
  model.Cdo().installed = true;
  model.Cdo().CreateSession()->Logon("", "", false, false, 0);
  model.Cdo().logon_failure = Error{5, "no"};
  EXPECT_EQ(ErrorNumberOf([&] { model.Cdo().CreateSession()->Logon("p", "", true, false, 1); }), 5);
  EXPECT_THAT(model.Cdo().Logons(), ElementsAre(CdoModel::LogonCall{"", "", false, false, 0},
                                                CdoModel::LogonCall{"p", "", true, false, 1}));
  EXPECT_EQ(model.Cdo().SessionsCreated(), 2);
  model.Redemption().installed = false;
  EXPECT_EQ(ErrorNumberOf([&] { model.Redemption().CreateSafeMailItem(); }), 429);
}

TEST(CallHookTest, SeesEveryPlatformCallAndCanLetItFail) {
  OutlookModel model;
  const auto item = model.NewMail();
  std::vector<std::string> calls;
  model.OnCall([&](std::string_view call) {
    calls.emplace_back(call);
    if (call == "MailItem.SetBody") Raise(kPermissionDenied);
  });
  EXPECT_EQ(ErrorNumberOf([&] { item->SetBody("x"); }), kPermissionDenied);
  EXPECT_EQ(*item->Body(), "");
  // What the user and Outlook do is no call of an add-in.
  model.Open(item);
  item->EditBody("y");
  EXPECT_EQ(item->GetInspector()->CommandBars()->Add("A", true)->Name(), "A");
  EXPECT_THAT(calls, ElementsAre("MailItem.SetBody", "MailItem.Body", "MailItem.GetInspector",
                                 "Inspector.CommandBars", "CommandBars.Add", "CommandBar.Name"));
  model.OnCall([&](std::string_view) { model.OnCall({}); });
  item->SetBody("z");
  EXPECT_EQ(*item->Body(), "z");
}

TEST(LifetimeTest, WhatAnAddInHoldsOutlivesTheModelAndNothingElseDoes) {
  std::weak_ptr<platform::Application> application;
  std::weak_ptr<platform::MailItem> item;
  platform::InspectorPtr window;
  {
    OutlookModel model;
    application = model.Application();
    const auto mail = model.NewMail();
    item = mail;
    mail->EditBody("kept");
    window = model.Open(mail);
  }
  EXPECT_TRUE(application.expired());
  EXPECT_EQ(*window->CurrentItem()->Body(), "kept");
  EXPECT_EQ(window->CommandBars()->Count(), 3);
  window.reset();
  EXPECT_TRUE(item.expired());
}

}  // namespace
}  // namespace corvessa::desk
