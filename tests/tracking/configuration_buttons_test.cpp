#include "tracking/configuration_buttons.h"

#include <gmock/gmock.h>

#include "accounts/registry_handlers.h"
#include "settings/settings.h"
#include "support/addin_fixture.h"
#include "tracking/transp_cmd_bar.h"

namespace corvessa::testing {
namespace {

using ::testing::ElementsAre;

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

  std::vector<FormPtr> Dialogs() {
    std::vector<FormPtr> dialogs;
    for (const FormPtr& form : LoadedForms()) {
      if (form->Name() == "frmManageUserKeys") dialogs.push_back(form);
    }
    return dialogs;
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
  // 48 bytes of header and palette, 16 rows of 4 bytes, 2 to spare; 24-bit pixels in the face.
  EXPECT_EQ(button->Properties().pasted_mask->size(), 114U);
  EXPECT_EQ(button->Properties().pasted_mask->at(48) & 0x80, 0x80) << "the corner shows the bar";
  EXPECT_EQ(button->Properties().pasted_face->size(), 40U + 16 * 48);
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
  ASSERT_EQ(Dialogs().size(), 1U);
  // A hidden one does not count.
  Dialogs().front()->Hide();
  EXPECT_TRUE(Button()->Click());
  EXPECT_EQ(Dialogs().size(), 2U);
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
  EXPECT_EQ(Dialogs().size(), 1U);
}

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kBackground = 0xDEDEE7;
constexpr std::uint32_t kInk = 0x010203;
/// The background as an OLE colour, blue highest.
constexpr std::uint32_t kBackgroundColour = 0xE7DEDE;

platform::PicturePtr Bitmap(int width, int height, std::vector<std::uint32_t> pixels) {
  return std::make_shared<platform::Picture>(
      platform::Picture{platform::PictureType::kBitmap, width, height, std::move(pixels), "test"});
}

class ToolbarPictureTest : public AddInFixture {
 protected:
  /// What stands on the clipboard in a named format; empty when nothing does.
  Bytes Block(std::string_view format) {
    EXPECT_TRUE(clipboard.Open());
    const auto block = clipboard.GetData(clipboard.RegisterFormat(format));
    clipboard.Close();
    return block.value_or(Bytes{});
  }
};

TEST_F(ToolbarPictureTest, PutsFaceAndMaskOnTheClipboardByteForByte) {
  TranspCmdBar::SetButtonPicture(
      Bitmap(3, 2, {kBackground, kInk, kBackground | 0xFF000000, kInk, kBackground, kInk}),
      kBackgroundColour);

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
  EXPECT_TRUE(TranspCmdBar::CreateMaskBitmap(*Bitmap(30000, 1, std::vector(30000, kInk)), kInk));
  for (const auto& [width, height] : {std::pair{0, 0}, {30001, 1}, {1, 40000}}) {
    const auto pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    TranspCmdBar::SetButtonPicture(Bitmap(width, height, std::vector(pixels, kBackground)),
                                   kBackgroundColour);
    EXPECT_EQ(Block("Toolbar Button Face"), Bytes{}) << width;
    EXPECT_EQ(Block("Toolbar Button Mask"), Bytes{}) << width;
  }
}

}  // namespace
}  // namespace corvessa::testing
