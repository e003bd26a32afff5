#pragma once

#include <cstdint>
#include <memory>
#include <optional>
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

/// The standard format of a device-independent bitmap (CF_DIB).
inline constexpr std::uint32_t kClipboardDib = 8;

/// The clipboard. Failures are results, never exceptions: a toolbar picture is not worth one.
class Clipboard {
 public:
  virtual ~Clipboard() = default;
  /// Empties the clipboard and puts a picture on it; its device-independent form can be read then.
  virtual void SetPicture(const Picture& picture) = 0;
  /// False when another program holds it. Every true is followed by Close.
  virtual bool Open() = 0;
  virtual void Close() = 0;
  /// The number of a named format, registering it first.
  virtual std::uint32_t RegisterFormat(std::string_view name) = 0;
  /// The block on the clipboard in a format, byte for byte; nothing when there is none.
  virtual std::optional<std::vector<std::uint8_t>> GetData(std::uint32_t format) = 0;
  /// Copies the block to the clipboard; false when it could not be set.
  virtual bool SetData(std::uint32_t format, const std::vector<std::uint8_t>& block) = 0;
};

}  // namespace corvessa::platform
