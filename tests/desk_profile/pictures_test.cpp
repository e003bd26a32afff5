#include "desk/profile/pictures.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "base/guard.h"
#include "desk/profile/brand_pictures.h"
#include "desk/profile/memory_clipboard.h"

namespace corvessa::desk {
namespace {

std::string Bytes(std::initializer_list<int> bytes) {
  return {bytes.begin(), bytes.end()};
}

/// A BMP file of the given bits with this palette and these stored rows.
std::string Bmp(int width, int height, int bits, const std::string& palette,
                const std::string& rows) {
  const auto at = static_cast<int>(54 + palette.size());
  return "BM" +
         Bytes({0, 0, 0, 0, 0, 0, 0, 0, at & 0xFF, at >> 8, 0, 0, 40, 0, 0, 0, width, 0, 0, 0}) +
         Bytes(
             {height, height < 0 ? -1 : 0, height < 0 ? -1 : 0, height < 0 ? -1 : 0, 1, 0, bits}) +
         std::string(25, '\0') + palette + rows;
}

TEST(PicturesTest, DecodesEveryDepthTopDown) {
  const std::string palette = Bytes({1, 2, 3, 0, 4, 5, 6, 0});
  const std::uint32_t a = 0x030201;
  const std::uint32_t b = 0x060504;
  const struct {
    const char* what;
    std::string file;
    std::vector<std::uint32_t> pixels;
  } cases[] = {
      {"24 bits bottom-up", Bmp(1, 2, 24, "", Bytes({4, 5, 6, 0}) + Bytes({1, 2, 3, 0})), {a, b}},
      {"24 bits top-down", Bmp(1, -2, 24, "", Bytes({4, 5, 6, 0, 1, 2, 3, 0})), {b, a}},
      {"32 bits", Bmp(2, 1, 32, "", Bytes({1, 2, 3, 99, 4, 5, 6, 99})), {a, b}},
      {"8 bits",
       Bmp(3, 1, 8, palette + std::string(254 * 4, '\0'), Bytes({1, 0, 1, 0})),
       {b, a, b}},
      {"4 bits",
       Bmp(3, 1, 4, palette + std::string(14 * 4, '\0'), Bytes({0x10, 0x10, 0, 0})),
       {b, a, b}},
      {"1 bit",
       Bmp(9, 1, 1, palette, Bytes({0b01000001, 0b10000000, 0, 0})),
       {a, b, a, a, a, a, a, b, b}},
  };
  for (const auto& one : cases) {
    const platform::Picture picture = DecodePicture(one.file);
    EXPECT_EQ(picture.type, platform::PictureType::kBitmap) << one.what;
    EXPECT_EQ(picture.pixels, one.pixels) << one.what;
    EXPECT_EQ(static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height),
              one.pixels.size());
    for (std::size_t cut = 0; cut < one.file.size(); ++cut) {
      const std::string_view start = std::string_view(one.file).substr(0, cut);
      EXPECT_EQ(Attempt([&] { DecodePicture(start); }).number, kInvalidPicture) << one.what << cut;
    }
  }
  std::string huge = Bmp(1, 1, 24, "", Bytes({0, 0, 0, 0}));
  huge[20] = 1;  // 65537 pixels wide
  std::string odd = Bmp(1, 1, 24, "", Bytes({0, 0, 0, 0}));
  odd[28] = 16;
  for (const std::string& refused : {huge, odd, std::string(), std::string("PNG")}) {
    EXPECT_EQ(Attempt([&] { DecodePicture(refused); }).number, kInvalidPicture);
  }
}

TEST(PicturesTest, TellsTheSizeOfGifAndJpegOnly) {
  for (const std::string& file : {SolidGif(300, 7, 0x102030), SolidJpeg(300, 7, 200)}) {
    const platform::Picture picture = DecodePicture(file);
    EXPECT_EQ(picture.width, 300);
    EXPECT_EQ(picture.height, 7);
    EXPECT_TRUE(picture.pixels.empty());
  }
  EXPECT_EQ(Attempt([] { DecodePicture("\xFF\xD8\xFF\xE0\x01"); }).number, kInvalidPicture);
}

TEST(PicturesTest, TheClipboardHoldsTheBitmapBottomUp) {
  platform::Picture picture{platform::PictureType::kBitmap, 1, 2, {0x030201, 0x060504}, {}};
  std::vector<std::uint8_t> expected{40, 0, 0,  0, 1, 0, 0, 0, 2, 0, 0, 0,
                                     1,  0, 24, 0, 0, 0, 0, 0, 8, 0, 0, 0};
  expected.resize(40);
  for (const int byte : {4, 5, 6, 0, 1, 2, 3, 0}) {
    expected.push_back(static_cast<std::uint8_t>(byte));
  }
  MemoryClipboard clipboard;
  clipboard.SetPicture(picture);
  EXPECT_FALSE(clipboard.SetData(1, {}));
  EXPECT_EQ(clipboard.GetData(platform::kClipboardDib), std::nullopt) << "not open";
  ASSERT_TRUE(clipboard.Open());
  EXPECT_FALSE(clipboard.Open());
  EXPECT_EQ(clipboard.GetData(platform::kClipboardDib), expected);
  const std::uint32_t face = clipboard.RegisterFormat("Toolbar Button Face");
  EXPECT_EQ(clipboard.RegisterFormat("TOOLBAR BUTTON FACE"), face);
  EXPECT_NE(clipboard.RegisterFormat("Toolbar Button Mask"), face);
  EXPECT_TRUE(clipboard.SetData(face, {1, 2}));
  clipboard.Close();
  EXPECT_EQ(DecodePicture(ToBmp(picture)).pixels, picture.pixels);

  picture.pixels.clear();
  clipboard.SetPicture(picture);
  ASSERT_TRUE(clipboard.Open());
  EXPECT_EQ(clipboard.GetData(platform::kClipboardDib), std::nullopt);
  EXPECT_EQ(clipboard.GetData(face), std::nullopt) << "the picture replaced what was there";
}

}  // namespace
}  // namespace corvessa::desk
