#include "desk/profile/brand_pictures.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "desk/profile/pictures.h"
#include "platform/files.h"

namespace corvessa::desk {
namespace {

/// The colour that command bars show as transparent.
constexpr std::uint32_t kBackground = 0xDEDEE7;
constexpr std::uint32_t kOutline = 0x303048;
constexpr std::uint32_t kBody = 0xE0B030;
constexpr unsigned kLogoColour = 0x303048;
constexpr int kSplashBrightness = 72;

/// A padlock; a dot is background.
constexpr std::string_view kIcon[] = {
    "................", "......####......", ".....######.....", "....##....##....",
    "....##....##....", "....##....##....", "....##....##....", "..############..",
    "..#oooooooooo#..", "..#oooo##oooo#..", "..#oooo##oooo#..", "..#ooooo#oooo#..",
    "..#oooo##oooo#..", "..#oooooooooo#..", "..############..", "................",
};

platform::Picture Icon() {
  platform::Picture icon{platform::PictureType::kBitmap, 16, 16, {}, {}};
  for (const std::string_view row : kIcon) {
    for (const char c : row) {
      icon.pixels.push_back(c == '#' ? kOutline : c == 'o' ? kBody : kBackground);
    }
  }
  return icon;
}

void Append(std::string& out, std::initializer_list<unsigned> bytes) {
  for (const unsigned byte : bytes) out.push_back(static_cast<char>(byte & 0xFF));
}

void AppendLittle16(std::string& out, int number) {
  const auto bits = static_cast<unsigned>(number);
  Append(out, {bits, bits >> 8});
}

/// Collects bits from the high end of each byte.
class BitWriter {
 public:
  void Put(unsigned bits, int count) {
    for (int i = count - 1; i >= 0; --i) {
      pending_ = pending_ << 1 | (bits >> i & 1);
      if (++filled_ == 8) Flush();
    }
  }
  /// The bytes, the last one filled up with ones.
  std::string Finish() {
    while (filled_ > 0) Put(1, 1);
    return out_;
  }

 private:
  void Flush() {
    Append(out_, {pending_});
    // An 0xFF of the data is told from a marker by the zero behind it.
    if ((pending_ & 0xFF) == 0xFF) Append(out_, {0});
    pending_ = 0;
    filled_ = 0;
  }

  std::string out_;
  unsigned pending_ = 0;
  int filled_ = 0;
};

/// Every 8 by 8 block holds nothing but its mean, coded as the difference to the block before it,
/// so each after the first is two zero bits.
std::string SolidBlocks(int blocks, int mean) {
  BitWriter bits;
  int length = 0;
  while (std::abs(mean) >> length != 0) ++length;
  bits.Put(0b10, 2);
  bits.Put(static_cast<unsigned>(mean > 0 ? mean : mean + (1 << length) - 1), length);
  bits.Put(0, 1);
  for (int i = 1; i < blocks; ++i) bits.Put(0, 2);
  return bits.Finish();
}

/// Codes of three bits, the low bit first. The table is cleared before each pair of pixels, so that
/// it never grows to longer codes.
std::string SolidCodes(std::size_t pixels) {
  constexpr unsigned kClear = 4;
  constexpr unsigned kEnd = 5;
  std::string out;
  unsigned pending = 0;
  int filled = 0;
  const auto put = [&](unsigned code) {
    pending |= code << filled;
    for (filled += 3; filled >= 8; filled -= 8, pending >>= 8) Append(out, {pending});
  };
  for (std::size_t i = 0; i < pixels; ++i) {
    if (i % 2 == 0) put(kClear);
    put(0);
  }
  put(kEnd);
  Append(out, {pending});
  return out;
}

/// A GIF of one colour (0x00RRGGBB).
std::string SolidGif(int width, int height, unsigned colour) {
  std::string out = "GIF89a";
  AppendLittle16(out, width);
  AppendLittle16(out, height);
  // A palette of two colours, of which the first is used.
  Append(out, {0x80, 0, 0});
  Append(out, {colour >> 16, colour >> 8, colour, 0, 0, 0});
  out.push_back(',');
  for (const int number : {0, 0, width, height}) AppendLittle16(out, number);
  Append(out, {0, 2});
  const std::string codes =
      SolidCodes(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  for (std::size_t at = 0; at < codes.size(); at += 255) {
    const std::string block = codes.substr(at, 255);
    Append(out, {static_cast<unsigned>(block.size())});
    out += block;
  }
  Append(out, {0});
  out.push_back(';');
  return out;
}

/// A JPEG of one brightness, 0 to 255 but for 128, which the table of means has no code for.
std::string SolidJpeg(int width, int height, int brightness) {
  const auto w = static_cast<unsigned>(width);
  const auto h = static_cast<unsigned>(height);
  std::string out;
  Append(out, {0xFF, 0xD8});
  // Quantization by 8 makes a block's coded mean its brightness.
  Append(out, {0xFF, 0xDB, 0, 67, 0});
  out.append(64, '\x08');
  Append(out, {0xFF, 0xC0, 0, 11, 8, h >> 8, h, w >> 8, w, 1, 1, 0x11, 0});
  // The code table of the means: 0 for no difference, 10 for one of as many bits as the first has.
  int length = 0;
  while (std::abs(brightness - 128) >> length != 0) ++length;
  Append(out, {0xFF, 0xC4, 0, 21, 0x00, 1, 1});
  out.append(14, '\0');
  Append(out, {0, static_cast<unsigned>(length)});
  // That of the rest: 0 for the end of the block.
  Append(out, {0xFF, 0xC4, 0, 20, 0x10, 1});
  out.append(15, '\0');
  Append(out, {0});
  Append(out, {0xFF, 0xDA, 0, 8, 1, 1, 0, 0, 63, 0});
  const int blocks = ((width + 7) / 8) * ((height + 7) / 8);
  out += SolidBlocks(blocks, brightness - 128);
  Append(out, {0xFF, 0xD9});
  return out;
}

}  // namespace

void WriteBrandPictures(platform::Files& files, std::string_view product_folder) {
  const std::string folder = std::string(product_folder) + "\\Customization";
  if (!files.FolderExists(folder)) files.CreateFolder(folder);
  const auto write = [&](std::string_view name, const std::string& content) {
    const std::string path = folder + "\\" + std::string(name);
    if (!files.FileExists(path)) files.Write(path, content);
  };
  write("16x16Icon.bmp", ToBmp(Icon()));
  write("48hLogo.gif", SolidGif(160, 48, kLogoColour));
  write("59hSplashImage.jpg", SolidJpeg(300, 59, kSplashBrightness));
}

}  // namespace corvessa::desk
