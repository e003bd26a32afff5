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

/// Decodes a picture file's content: BMP of 1, 4, 8, 24 and 32 bits without compression with its
/// pixels; GIF and JPEG by size only. Throws Error 481 for anything else, and for a BMP that is cut
/// short or over 30000 pixels wide or high.
platform::Picture DecodePicture(std::string_view content);

/// Loads a picture file by its Windows path. Throws Error 481, or what reading the file throws.
platform::PicturePtr LoadPictureFile(platform::Files& files, std::string_view path);

/// The picture as a device-independent bitmap: a 40-byte header, then 24-bit pixels, rows bottom-up
/// and padded to 4 bytes. This is what the clipboard holds for CF_DIB.
std::vector<std::uint8_t> ToDib(const platform::Picture& picture);

/// The picture as a BMP file of 24 bits.
std::string ToBmp(const platform::Picture& picture);

}  // namespace corvessa::desk
