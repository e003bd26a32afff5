#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "platform/pictures.h"

namespace corvessa::platform {
class Files;
}

/// Picture files, and the brand's own pictures.
namespace corvessa::desk {

/// Decodes a picture file's content: uncompressed BMP of 1, 4, 8, 24 and 32 bits with its pixels;
/// of GIF and JPEG the size only. Throws Error 481 for anything else, and for a BMP that is
/// truncated or over 30000 pixels wide or high.
platform::Picture DecodePicture(std::string_view content);

/// The picture as a device-independent bitmap: a 40-byte header, then 24-bit pixels, rows bottom-up
/// and padded to 4 bytes. This is the clipboard's CF_DIB.
std::vector<std::uint8_t> ToDib(const platform::Picture& picture);

/// Loads pictures from `files`, which must outlive it.
class FilePictures final : public platform::Pictures {
 public:
  explicit FilePictures(platform::Files& files) : files_(files) {}
  platform::PicturePtr Load(std::string_view path) override;

 private:
  platform::Files& files_;
};

/// A file of packaging/brand/Customization. The build embeds them, so that the desk runs from
/// anywhere without installation.
struct BrandPicture {
  std::string_view name;
  std::string_view content;
};
std::span<const BrandPicture> BrandPictures();

/// Writes the brand pictures that are missing into the folder "Customization" below the add-in's
/// folder, which must exist. A user's own picture stays.
void WriteBrandPictures(platform::Files& files, std::string_view product_folder);

}  // namespace corvessa::desk
