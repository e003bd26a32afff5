#include "desk/profile/pictures.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <utility>

#include "base/error.h"
#include "platform/files.h"

namespace corvessa::desk {
namespace {

constexpr std::size_t kFileHeader = 14;
constexpr std::size_t kInfoHeader = 40;
constexpr std::int32_t kMaximumSide = 30000;

std::uint32_t Byte(std::string_view content, std::size_t at) {
  if (at >= content.size()) Raise(kInvalidPicture);
  return static_cast<unsigned char>(content[at]);
}

std::uint32_t Little16(std::string_view content, std::size_t at) {
  return Byte(content, at) | Byte(content, at + 1) << 8;
}

std::uint32_t Little32(std::string_view content, std::size_t at) {
  return Little16(content, at) | Little16(content, at + 2) << 16;
}

std::uint32_t Big16(std::string_view content, std::size_t at) {
  return Byte(content, at) << 8 | Byte(content, at + 1);
}

/// Blue, green, red, as BMP stores them.
std::uint32_t Pixel(std::string_view content, std::size_t at) {
  return Byte(content, at) | Byte(content, at + 1) << 8 | Byte(content, at + 2) << 16;
}

std::size_t RowBytes(std::int32_t width, std::uint32_t bits) {
  return (static_cast<std::size_t>(width) * bits + 31) / 32 * 4;
}

struct BmpLayout {
  std::int32_t width = 0;
  std::int32_t height = 0;
  bool bottom_up = true;
  std::uint32_t bits = 0;
  std::size_t palette_at = 0;
  std::uint32_t palette_colours = 0;
  std::size_t pixels_at = 0;
};

BmpLayout ReadLayout(std::string_view content) {
  const std::uint32_t header = Little32(content, kFileHeader);
  const bool compressed = Little32(content, kFileHeader + 16) != 0;
  if (header < kInfoHeader || header > content.size() || compressed) Raise(kInvalidPicture);
  BmpLayout layout;
  layout.width = static_cast<std::int32_t>(Little32(content, kFileHeader + 4));
  const auto height = static_cast<std::int32_t>(Little32(content, kFileHeader + 8));
  if (height < -kMaximumSide || height > kMaximumSide) Raise(kInvalidPicture);
  layout.bottom_up = height > 0;
  layout.height = std::abs(height);
  if (layout.width < 1 || layout.width > kMaximumSide || height == 0) Raise(kInvalidPicture);
  layout.bits = Little16(content, kFileHeader + 14);
  layout.palette_at = kFileHeader + header;
  if (layout.bits <= 8) {
    const std::uint32_t used = Little32(content, kFileHeader + 32);
    const std::uint32_t all = 1U << layout.bits;
    layout.palette_colours = used == 0 ? all : std::min(used, all);
  }
  layout.pixels_at = Little32(content, 10);
  return layout;
}

std::uint32_t PixelAt(std::string_view content, const BmpLayout& layout, std::size_t row,
                      std::size_t column) {
  if (layout.bits >= 24) return Pixel(content, row + column * (layout.bits / 8));
  const std::size_t bit = column * layout.bits;
  const std::uint32_t shift = 8 - layout.bits - static_cast<std::uint32_t>(bit % 8);
  const std::uint32_t index = Byte(content, row + bit / 8) >> shift & ((1U << layout.bits) - 1);
  if (index >= layout.palette_colours) Raise(kInvalidPicture);
  return Pixel(content, layout.palette_at + static_cast<std::size_t>(index) * 4);
}

platform::Picture DecodeBmp(std::string_view content) {
  const BmpLayout layout = ReadLayout(content);
  constexpr std::uint32_t kKnownBits[] = {1, 4, 8, 24, 32};
  if (std::ranges::find(kKnownBits, layout.bits) == std::end(kKnownBits)) {
    Raise(kInvalidPicture);
  }
  const std::size_t row_bytes = RowBytes(layout.width, layout.bits);
  const auto width = static_cast<std::size_t>(layout.width);
  const auto height = static_cast<std::size_t>(layout.height);
  // Before allocating memory for the size that the header claims.
  if (layout.pixels_at > content.size() || content.size() - layout.pixels_at < row_bytes * height) {
    Raise(kInvalidPicture);
  }
  platform::Picture picture{platform::PictureType::kBitmap, layout.width, layout.height, {}, {}};
  picture.pixels.reserve(width * height);
  for (std::size_t y = 0; y < height; ++y) {
    const std::size_t stored_row = layout.bottom_up ? height - 1 - y : y;
    const std::size_t row = layout.pixels_at + stored_row * row_bytes;
    for (std::size_t x = 0; x < width; ++x) {
      picture.pixels.push_back(PixelAt(content, layout, row, x));
    }
  }
  return picture;
}

/// Walks the segments of a JPEG to the frame header, which holds the size.
platform::Picture SizeOfJpeg(std::string_view content) {
  std::size_t at = 2;
  for (;;) {
    while (Byte(content, at) == 0xFF) ++at;
    const std::uint32_t marker = Byte(content, at++);
    const bool is_frame =
        marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
    if (is_frame) {
      return {platform::PictureType::kBitmap,
              static_cast<int>(Big16(content, at + 5)),
              static_cast<int>(Big16(content, at + 3)),
              {},
              {}};
    }
    at += std::max(Big16(content, at), 2U);
  }
}

void AppendLittle(std::string& out, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
}

std::string DibBytes(const platform::Picture& picture) {
  const auto width = static_cast<std::size_t>(picture.width);
  const auto height = static_cast<std::size_t>(picture.height);
  const std::size_t row_bytes = RowBytes(picture.width, 24);
  std::string out;
  out.reserve(kInfoHeader + row_bytes * height);
  AppendLittle(out, kInfoHeader, 4);
  AppendLittle(out, static_cast<std::uint32_t>(picture.width), 4);
  AppendLittle(out, static_cast<std::uint32_t>(picture.height), 4);
  AppendLittle(out, 1, 2);   // planes
  AppendLittle(out, 24, 2);  // bits a pixel
  AppendLittle(out, 0, 4);   // no compression
  AppendLittle(out, static_cast<std::uint32_t>(row_bytes * height), 4);
  out.append(kInfoHeader - out.size(), '\0');
  for (std::size_t y = height; y-- > 0;) {
    for (std::size_t x = 0; x < width; ++x) AppendLittle(out, picture.pixels[y * width + x], 3);
    out.append(row_bytes - width * 3, '\0');
  }
  return out;
}

}  // namespace

platform::Picture DecodePicture(std::string_view content) {
  if (content.starts_with("BM")) return DecodeBmp(content);
  if (content.starts_with("GIF87a") || content.starts_with("GIF89a")) {
    return {platform::PictureType::kBitmap,
            static_cast<int>(Little16(content, 6)),
            static_cast<int>(Little16(content, 8)),
            {},
            {}};
  }
  if (content.starts_with("\xFF\xD8\xFF")) return SizeOfJpeg(content);
  Raise(kInvalidPicture);
}

platform::PicturePtr FilePictures::Load(std::string_view path) {
  platform::Picture picture = DecodePicture(files_.Read(path));
  picture.source = path;
  return std::make_shared<const platform::Picture>(std::move(picture));
}

std::vector<std::uint8_t> ToDib(const platform::Picture& picture) {
  const std::string bytes = DibBytes(picture);
  return {bytes.begin(), bytes.end()};
}

}  // namespace corvessa::desk
