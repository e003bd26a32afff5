#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/picture.h"

namespace corvessa::platform {

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
