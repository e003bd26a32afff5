#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/picture.h"

namespace corvessa::platform {
class Files;
}

namespace corvessa::desk {

/// Decodes a picture file's content: uncompressed BMP of 1, 4, 8, 24 and 32 bits with its pixels;
/// of GIF and JPEG the size only. Throws Error 481 for anything else, and for a BMP that is
/// truncated or over 30000 pixels wide or high.
platform::Picture DecodePicture(std::string_view content);

/// The picture as a device-independent bitmap: a 40-byte header, then 24-bit pixels, rows bottom-up
/// and padded to 4 bytes. This is what the clipboard holds for CF_DIB.
std::vector<std::uint8_t> ToDib(const platform::Picture& picture);

/// The pictures of a host's files, which must outlive it.
class FilePictures final : public platform::Pictures {
 public:
  explicit FilePictures(platform::Files& files) : files_(files) {}
  platform::PicturePtr Load(std::string_view path) override;

 private:
  platform::Files& files_;
};

}  // namespace corvessa::desk
