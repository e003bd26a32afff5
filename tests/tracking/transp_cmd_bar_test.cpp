#include "tracking/transp_cmd_bar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/error.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {
namespace {

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

TEST_F(ToolbarPictureTest, RefusesWhatIsNoBitmap) {
  auto icon = std::make_shared<platform::Picture>(*Bitmap(1, 1, {kInk}));
  icon->type = platform::PictureType::kIcon;
  const auto undecoded = Bitmap(16, 16, {});
  for (const platform::PicturePtr& picture :
       {platform::PicturePtr(), platform::PicturePtr(icon), undecoded}) {
    try {
      TranspCmdBar::SetButtonPicture(picture, kBackgroundColour);
      ADD_FAILURE() << "accepted";
    } catch (const Error& error) {
      EXPECT_EQ(error.number, kInvalidPicture);
    }
  }
}

}  // namespace
}  // namespace corvessa::testing
