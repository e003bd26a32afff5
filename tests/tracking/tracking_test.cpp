#include <algorithm>
#include <gmock/gmock.h>

#include "accounts/frm_manage_user_keys.h"
#include "accounts/registry_handlers.h"
#include "settings/settings.h"
#include "support/addin_fixture.h"
#include "tracking/active_explorers.h"
#include "tracking/active_inspectors.h"
#include "tracking/configuration_buttons.h"
#include "tracking/explorer_node.h"
#include "tracking/inspector_node.h"
#include "tracking/transp_cmd_bar.h"

namespace corvessa::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ConfigurationButtonTest : public AddInFixture {
 protected:
  ConfigurationButtonTest() {
    SetEdition("URLMain", "http://example.com/");
    ui.AllowForm("frmManageUserKeys");
    g_bSettingsLoaded = true;
  }

  bool Init() {
    bool done = false;
    buttons.InitButtons(explorer, done);
    return done;
  }

  /// The add-in's button; null when there is none.
  desk::ButtonPtr Button() {
    for (const desk::ButtonPtr& button : explorer->Bars().Find("Standard")->Buttons()) {
      if (button->Properties().on_action == "!<CorvessaPro_OL.Connect>") return button;
    }
    return nullptr;
  }

  desk::ExplorerWindowPtr explorer = outlook.AddExplorer();
  ConfigurationButtons buttons;
};

TEST_F(ConfigurationButtonTest, StandsOnTheStandardBarWithItsPicture) {
  ASSERT_TRUE(Init());
  EXPECT_EQ(desk::Describe(explorer->Bars(), "Standard"), R"(Standard position=1
  "&Print..." tip="Print..." style=0 face=4 permanent
  "Corvessa" tip="Secure Email From Corvessa" style=3 face=pasted group action="!<CorvessaPro_OL.Connect>"
)");
  const desk::ButtonPtr button = Button();
  EXPECT_TRUE(button->Properties().temporary);
  EXPECT_EQ(button->Properties().pasted_mask->at(48) & 0x80, 0x80) << "the corner shows the bar";
  buttons.CloseButtons();
  EXPECT_EQ(Button(), nullptr);
  buttons.CloseButtons();

  SetEditionSwitch("NoToolbarButtonText", 1);
  RegistryHandlers::ReadUserAccountInfo();
  ASSERT_TRUE(Init());
  const desk::ButtonProperties& look = Button()->Properties();
  EXPECT_EQ(look.caption + "|" + look.tooltip, "|Secure Email From Corvessa");
  EXPECT_EQ(look.style, platform::kButtonIconAndCaption);
}

TEST_F(ConfigurationButtonTest, DoesWithoutAPictureThatIsMissingOrNone) {
  AllowError("ConfigurationButtons::GetButton - ");
  const std::string picture = "c:\\Corvessa\\Customization\\16x16Icon.bmp";
  g_bNoToolbarButtonText = true;
  files.Write(picture, "GIF89a");
  for (int round = 0; round < 2; ++round) {
    ASSERT_TRUE(Init());
    EXPECT_EQ(Button()->Properties().style, platform::kButtonCaption);
    EXPECT_EQ(Button()->Properties().caption, "Corvessa") << "it could not be seen without either";
    EXPECT_FALSE(Button()->Properties().pasted_face);
    buttons.CloseButtons();
    if (files.FileExists(picture)) files.Delete(picture);
  }
}

TEST_F(ConfigurationButtonTest, LeavesNoHalfMadeButton) {
  AllowError("ConfigurationButtons::");
  const auto count = [&] { return explorer->Bars().Find("Standard")->Buttons().size(); };
  const std::size_t without = count();
  for (std::size_t call = 1;; ++call) {
    faults.FailAt(call);
    const bool done = Init();
    const bool failed = !faults.Failed().empty();
    faults.FailAt(0);
    EXPECT_EQ(count(), done ? without + 1 : without) << call;
    buttons.CloseButtons();
    ASSERT_EQ(count(), without) << call;
    if (!failed) break;
  }
}

TEST_F(ConfigurationButtonTest, OpensOneDialogAndBringsItForward) {
  ASSERT_TRUE(Init());
  SetPreference("PassphraseMemory", 9);
  EXPECT_TRUE(Button()->Click());
  EXPECT_EQ(g_lPassphraseMemory, 9) << "the settings are read anew";
  EXPECT_TRUE(Button()->Click());
  EXPECT_THAT(ui.Shown(), ElementsAre("frmManageUserKeys", "frmManageUserKeys forward"));
  // A hidden one does not count.
  LoadedFormsOf<frmManageUserKeys>().front()->Hide();
  EXPECT_TRUE(Button()->Click());
  EXPECT_EQ(LoadedFormsOf<frmManageUserKeys>().size(), 2U);
  buttons.CloseButtons();
}

TEST_F(ConfigurationButtonTest, OpensNothingInAMailModeThatTheEditionRefuses) {
  ASSERT_TRUE(Init());
  platform::RegistryKeyPtr setup;
  registry.CurrentUser().Create("Software\\Microsoft\\Office\\9.0\\Outlook\\Setup", setup);
  ui.AllowEverything();
  for (const bool corporate : {false, true}) {
    setup->WriteNumber("MailSupport", corporate ? 1 : 0);
    SetEditionSwitch("DisableInternetMode", corporate ? 0 : 1);
    SetEditionSwitch("DisableCorporateOrWorkgroupMode", corporate ? 1 : 0);
    EXPECT_TRUE(Button()->Click());
    EXPECT_THAT(ui.Shown(), ElementsAre(::testing::StartsWith("box "))) << corporate;
    ui.ClearShown();
  }
}

TEST_F(ConfigurationButtonTest, OutlivesItsExplorerClosingUnderTheClick) {
  bool done = false;
  auto leaving = std::make_unique<ConfigurationButtons>();
  leaving->InitButtons(explorer, done);
  ui.AllowForm("frmManageUserKeys", [&](Form&) { leaving.reset(); });
  EXPECT_TRUE(Button()->Click());
  EXPECT_EQ(LoadedFormsOf<frmManageUserKeys>().size(), 1U);
}

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kBackground = 0xDEDEE7;
constexpr std::uint32_t kInk = 0x010203;
/// The background as an OLE colour, blue highest.
constexpr std::uint32_t kBackgroundColour = 0xE7DEDE;

class ToolbarPictureTest : public AddInFixture {
 protected:
  static void SetPicture(int width, int height, std::vector<std::uint32_t> pixels) {
    TranspCmdBar::SetButtonPicture(
        std::make_shared<platform::Picture>(platform::Picture{platform::PictureType::kBitmap, width,
                                                              height, std::move(pixels), "test"}),
        kBackgroundColour);
  }
  /// What stands on the clipboard in a named format; empty when nothing does.
  Bytes Block(std::string_view format) {
    EXPECT_TRUE(clipboard.Open());
    const auto block = clipboard.GetData(clipboard.RegisterFormat(format));
    clipboard.Close();
    return block.value_or(Bytes{});
  }
};

TEST_F(ToolbarPictureTest, PutsFaceAndMaskOnTheClipboardByteForByte) {
  SetPicture(3, 2, {kBackground, kInk, kBackground | 0xFF000000, kInk, kBackground, kInk});

  EXPECT_EQ(Block("Toolbar Button Face"),
            (Bytes{40, 0, 0, 0, 3, 0, 0, 0, 2, 0, 0, 0, 1, 0, 24, 0, 0, 0, 0, 0, 24, 0, 0, 0, 0, 0,
                   0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                   // the lower row comes first: blue, green, red
                   3, 2, 1, 0xE7, 0xDE, 0xDE, 3, 2, 1, 0, 0, 0, 0xE7, 0xDE, 0xDE, 3, 2, 1, 0xE7,
                   0xDE, 0xDE, 0, 0, 0}));
  EXPECT_EQ(Block("Toolbar Button Mask"),
            (Bytes{40, 0, 0, 0, 3, 0, 0, 0, 2, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 8, 0, 0, 0, 0, 0, 0,
                   0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                   // black, white
                   0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0,
                   // 010, then 101
                   0x40, 0, 0, 0, 0xA0, 0, 0, 0, 0, 0}));
}

TEST_F(ToolbarPictureTest, LeavesBothFormatsOutForSizesOutsideTheLimits) {
  for (const auto& [width, height] : {std::pair{0, 0}, {30001, 1}, {1, 40000}, {30000, 1}}) {
    const auto pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    SetPicture(width, height, std::vector(pixels, kBackground));
    EXPECT_EQ(Block("Toolbar Button Face").empty(), width != 30000) << width;
    EXPECT_EQ(Block("Toolbar Button Mask").empty(), width != 30000) << width;
  }
}

class Windows : public AddInFixture {
 protected:
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
  inspectors->AddInspector(outlook.Open(outlook.NewMail()));
  for (const int id : {1, 2, 3}) {
    ClearTrace();
    inspectors->Release(id);
    const std::vector<std::string> error = {
        "ActiveInspectors::Release - Invalid procedure call or argument"};
    EXPECT_EQ(Trace(), id == 3 ? std::vector<std::string>{} : error) << id;
  }
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
  desk::ItemData contact;
  contact.item_class = desk::kContactClass;
  EXPECT_THAT(CallsOf([&] { outlook.Open(outlook.AddItem(contact)); }),
              ElementsAre("Inspector.CurrentItem", "MailItem.Class"));
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
