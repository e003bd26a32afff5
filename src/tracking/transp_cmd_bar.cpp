#include "tracking/transp_cmd_bar.h"

#include "base/error.h"
#include "platform/command_bars.h"
#include "platform/host.h"
#include "platform/pictures.h"

namespace corvessa::TranspCmdBar {
namespace {

constexpr int kLongestSide = 30000;
constexpr std::size_t kHeaderSize = 40;
/// Room for the header and the palette of 8 bytes, and 2 bytes to spare.
constexpr std::size_t kExtraSize = 50;

std::size_t RowBytes(std::size_t width) {
  return (width + 31) / 32 * 4;
}

bool IsBitmap(const platform::PicturePtr& picture) {
  if (!picture || picture->type != platform::PictureType::kBitmap) return false;
  if (picture->width < 0 || picture->height < 0) return false;
  // A file that the host knows but cannot decode has a size and no pixels.
  return picture->pixels.size() ==
         static_cast<std::size_t>(picture->width) * static_cast<std::size_t>(picture->height);
}

/// Pictures keep their pixels as 0x00RRGGBB, OLE colours have red lowest. What stands in the top
/// byte of an OLE colour (system colours, palette entries) has no meaning without a palette.
std::uint32_t ToRgb(std::uint32_t colour) {
  return (colour & 0xFF) << 16 | (colour & 0xFF00) | (colour >> 16 & 0xFF);
}

void Append(std::vector<std::uint8_t>& block, std::uint32_t value, std::size_t bytes) {
  for (std::size_t i = 0; i < bytes; ++i) {
    block.push_back(static_cast<std::uint8_t>(value >> (8 * i) & 0xFF));
  }
}

/// A device-independent bitmap: header, the palette black and white, the bits.
std::vector<std::uint8_t> MaskBlock(const MaskBitmap& mask) {
  const auto image_size = static_cast<std::uint32_t>(mask.bits.size());
  std::vector<std::uint8_t> block;
  block.reserve(image_size + kExtraSize);
  Append(block, kHeaderSize, 4);
  Append(block, static_cast<std::uint32_t>(mask.width), 4);
  Append(block, static_cast<std::uint32_t>(mask.height), 4);
  Append(block, 1, 2);  // planes
  Append(block, 1, 2);  // bits a pixel
  Append(block, 0, 4);  // no compression
  Append(block, image_size, 4);
  block.resize(kHeaderSize);     // resolution and palette size: the defaults
  Append(block, 0x00000000, 4);  // black
  Append(block, 0x00FFFFFF, 4);  // white
  block.insert(block.end(), mask.bits.begin(), mask.bits.end());
  block.resize(image_size + kExtraSize);
  return block;
}

}  // namespace

void SetButtonPicture(const platform::PicturePtr& picture, std::uint32_t colour) {
  if (!IsBitmap(picture)) Raise(kInvalidPicture);
  const std::optional<MaskBitmap> mask = CreateMaskBitmap(*picture, ToRgb(colour));
  platform::Host().clipboard.SetPicture(*picture);
  if (mask) PutFaceAndMaskOnClipboard(*mask);
}

std::optional<MaskBitmap> CreateMaskBitmap(const platform::Picture& picture, std::uint32_t rgb) {
  if (picture.width < 1 || picture.width > kLongestSide) return std::nullopt;
  if (picture.height < 1 || picture.height > kLongestSide) return std::nullopt;
  const auto width = static_cast<std::size_t>(picture.width);
  const auto height = static_cast<std::size_t>(picture.height);
  MaskBitmap mask{picture.width, picture.height, {}};
  mask.bits.resize(RowBytes(width) * height);
  for (std::size_t y = 0; y < height; ++y) {
    std::uint8_t* const row = mask.bits.data() + (height - 1 - y) * RowBytes(width);
    for (std::size_t x = 0; x < width; ++x) {
      if ((picture.pixels[y * width + x] & 0xFFFFFF) != rgb) continue;
      row[x / 8] = static_cast<std::uint8_t>(row[x / 8] | 0x80 >> x % 8);
    }
  }
  return mask;
}

void PutFaceAndMaskOnClipboard(const MaskBitmap& mask) {
  platform::Clipboard& clipboard = platform::Host().clipboard;
  if (mask.bits.empty() || !clipboard.Open()) return;
  const std::uint32_t face_format = clipboard.RegisterFormat(platform::kFaceFormat);
  const std::uint32_t mask_format = clipboard.RegisterFormat(platform::kMaskFormat);
  if (const auto face = clipboard.GetData(platform::kClipboardDib)) {
    clipboard.SetData(face_format, *face);
  }
  clipboard.SetData(mask_format, MaskBlock(mask));
  clipboard.Close();
}

}  // namespace corvessa::TranspCmdBar
