#include "desk/profile/pictures.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/guard.h"

namespace corvessa::desk {
namespace {

std::string Bytes(std::initializer_list<int> bytes) {
  return {bytes.begin(), bytes.end()};
}

/// A BMP file of the given bits with this palette and these stored rows.
std::string Bmp(int width, int height, int bits, const std::string& palette,
                const std::string& rows) {
  const auto at = static_cast<int>(54 + palette.size());
  const int sign = height < 0 ? -1 : 0;
  return "BM" + Bytes({0, 0, 0,     0, 0, 0, 0,      0,    at & 0xFF, at >> 8, 0, 0, 40,  0,
                       0, 0, width, 0, 0, 0, height, sign, sign,      sign,    1, 0, bits}) +
         std::string(25, '\0') + palette + rows;
}

TEST(PicturesTest, DecodesEveryDepthTopDown) {
  const std::string palette = Bytes({1, 2, 3, 0, 4, 5, 6, 0});
  const std::uint32_t a = 0x030201;
  const std::uint32_t b = 0x060504;
  const std::pair<std::string, std::vector<std::uint32_t>> cases[] = {
      {Bmp(1, 2, 24, "", Bytes({4, 5, 6, 0, 1, 2, 3, 0})), {a, b}},
      {Bmp(1, -2, 24, "", Bytes({4, 5, 6, 0, 1, 2, 3, 0})), {b, a}},
      {Bmp(2, 1, 32, "", Bytes({1, 2, 3, 99, 4, 5, 6, 99})), {a, b}},
      {Bmp(3, 1, 4, palette + std::string(14 * 4, '\0'), Bytes({0x10, 0x10, 0, 0})), {b, a, b}},
      {Bmp(9, 1, 1, palette, Bytes({0b01000001, 0b10000000, 0, 0})), {a, b, a, a, a, a, a, b, b}}};
  for (const auto& [file, pixels] : cases) {
    EXPECT_EQ(DecodePicture(file).pixels, pixels);
    for (std::size_t cut = 0; cut < file.size(); ++cut) {
      EXPECT_EQ(Attempt([&] { DecodePicture(file.substr(0, cut)); }).number, kInvalidPicture);
    }
  }
  std::string huge = Bmp(1, 1, 24, "", Bytes({0, 0, 0, 0}));
  huge[20] = 1;  // 65537 pixels wide
  std::string odd = Bmp(1, 1, 24, "", Bytes({0, 0, 0, 0}));
  odd[28] = 16;
  for (const std::string& refused :
       {huge, odd, std::string("PNG"), std::string("\xFF\xD8\xFF\xE0\x01")}) {
    EXPECT_EQ(Attempt([&] { DecodePicture(refused); }).number, kInvalidPicture);
  }
}

}  // namespace
}  // namespace corvessa::desk
