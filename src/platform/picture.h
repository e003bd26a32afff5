#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace corvessa::platform {

/// The types of a picture object.
enum class PictureType : std::int16_t { kNone = 0, kBitmap = 1, kMetafile = 2, kIcon = 3 };

/// A picture. Pixels are 0x00RRGGBB, rows top-down, `width` * `height` of them; empty when the host
/// knows the size but does not decode the format (the desk decodes BMP only).
struct Picture {
  PictureType type = PictureType::kNone;
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;
  /// The path it was loaded from, or the name of a built-in icon.
  std::string source;
};
using PicturePtr = std::shared_ptr<const Picture>;

/// Loads picture files: BMP for buttons, GIF and JPEG for dialogs.
class Pictures {
 public:
  virtual ~Pictures() = default;
  /// `path` is a Windows path. Throws Error 53 when the file is missing, 481 when it is not a
  /// picture, or what reading the file throws.
  virtual PicturePtr Load(std::string_view path) = 0;
};

}  // namespace corvessa::platform
