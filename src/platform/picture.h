#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace corvessa::platform {

/// The types of a picture object.
enum class PictureType : std::int16_t { kNone = 0, kBitmap = 1, kMetafile = 2, kIcon = 3 };

/// A picture. Pixels are 0x00RRGGBB, rows top-down, `width` * `height` of them; empty when the host
/// knows the file but does not decode its format (the portable one decodes BMP only).
struct Picture {
  PictureType type = PictureType::kNone;
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;
  /// The path it was loaded from, or the name of a built-in icon.
  std::string source;
};
using PicturePtr = std::shared_ptr<const Picture>;

}  // namespace corvessa::platform
