#include <algorithm>
#include <gmock/gmock.h>

#include "settings/settings.h"
#include "support/addin_fixture.h"
#include "tracking/active_explorers.h"
#include "tracking/active_inspectors.h"
#include "tracking/explorer_node.h"
#include "tracking/inspector_node.h"

namespace corvessa::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Windows : public AddInFixture {
 protected:
  /// Takes the node out; nothing is traced when there was one.
  bool Took(ActiveInspectors& inspectors, std::int32_t node_id) {
    ClearTrace();
    inspectors.Release(node_id);
    return Trace().empty();
  }
  /// Whether anybody hears of the item's changes.
  bool IsWatched(const desk::ItemPtr& item) {
    ClearTrace();
    item->SetBody("x");
    return !Trace().empty();
  }
};

TEST_F(Windows, ExplorersAreKeptUntilTheyClose) {
  AllowError("ActiveExplorers::Release - ");
  g_bSettingsLoaded = true;
  const auto explorers = std::make_shared<ActiveExplorers>();
  explorers->AddExplorer(nullptr, true);
  std::vector<desk::ExplorerWindowPtr> windows;
  for (int i = 0; i < 3; ++i) {
    windows.push_back(outlook.AddExplorer());
    explorers->AddExplorer(windows.back(), false);
  }
  for (const std::size_t closing : {1U, 0U, 2U}) outlook.CloseExplorer(windows[closing]);
  EXPECT_THAT(Trace(), IsEmpty());
  EXPECT_EQ(explorers.use_count(), 1);
  // Nothing, which was added first, has taken no ID.
  explorers->AddExplorer(outlook.AddExplorer(), false);
  explorers->Release(4);
  EXPECT_EQ(explorers.use_count(), 1);
}

TEST_F(Windows, InspectorsServeTheirMailAndLetGoWhenTheyClose) {
  const auto inspectors = std::make_shared<ActiveInspectors>();
  inspectors->AddInspector(nullptr);
  const auto mail = outlook.Open(outlook.NewMail());
  desk::ItemData contact;
  contact.item_class = desk::kContactClass;
  const auto other = outlook.Open(outlook.AddItem(contact));
  inspectors->AddInspector(mail);
  inspectors->AddInspector(other);
  EXPECT_EQ(inspectors.use_count(), 3);
  const auto item = mail->ShownItem();
  EXPECT_TRUE(IsWatched(item));
  EXPECT_FALSE(IsWatched(other->ShownItem())) << "only mail is listened to";
  outlook.Close(other);
  EXPECT_EQ(inspectors.use_count(), 2);
  outlook.Close(mail);
  EXPECT_FALSE(IsWatched(item));
  EXPECT_EQ(inspectors.use_count(), 1);

  // Closed windows' IDs are not used again.
  AllowError("ActiveInspectors::Release - ");
  for (const int id : {1, 2, 3}) EXPECT_FALSE(Took(*inspectors, id)) << id;
  EXPECT_THAT(Trace(),
              ElementsAre("ActiveInspectors::Release - Invalid procedure call or argument"));
  inspectors->AddInspector(outlook.Open(outlook.NewMail()));
  EXPECT_TRUE(Took(*inspectors, 3));
}

TEST_F(Windows, UnreadableOnesAreTracedAndOthersThanMailsLeftAlone) {
  const auto inspectors = std::make_shared<ActiveInspectors>();
  const auto window = outlook.Open(outlook.NewMail());
  const auto explorers = std::make_shared<ActiveExplorers>();
  const auto folder = outlook.AddExplorer();
  StoreAccount("ann@example.org");
  ConnectAddIn();
  ClearTrace();
  faults.on_call = [](std::string_view call) {
    if (call == "Inspector.CurrentItem" || call == "Explorer.Subscribe") throw Error{5, "gone"};
  };
  inspectors->AddInspector(WithFaults(window, faults));
  explorers->AddExplorer(WithFaults(folder, faults), false);
  outlook.Open(outlook.NewMail());
  std::vector<std::string> calls;
  faults.on_call = [&](std::string_view call) { calls.emplace_back(call); };
  desk::ItemData contact;
  contact.item_class = desk::kContactClass;
  outlook.Open(outlook.AddItem(contact));
  faults.on_call = nullptr;
  EXPECT_THAT(calls, ElementsAre("Inspector.CurrentItem", "MailItem.Class"));
  const std::vector<std::string> errors = {"InspectorNode::Initialise - gone",
                                           "ExplorerNode::Initialise - gone",
                                           "OutlookSupport::m_oInspectors_NewInspector - gone"};
  EXPECT_EQ(Trace(), errors);
  for (const std::string& error : errors) AllowError(error);
  outlook.Close(window);
  EXPECT_EQ(inspectors.use_count(), 1);
}

}  // namespace
}  // namespace corvessa::testing
