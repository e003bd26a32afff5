#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/pictures.h"

namespace corvessa {

/// Pictures of toolbar buttons with a transparent background: a command bar takes a button's face
/// from two private clipboard formats, the picture and a mask that says where it is transparent.
namespace TranspCmdBar {

/// One bit a pixel, 1 where the picture is transparent; laid out as in a bitmap file: rows
/// bottom-up, the leftmost pixel in the highest bit, each row padded to a multiple of 4 bytes.
struct MaskBitmap {
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::vector<std::uint8_t> bits;
};

/// Puts the picture with its mask on the clipboard, whose content it replaces. The colour is an OLE
/// colour: red in the lowest byte, then green, then blue. Throws Error 481 for what is no bitmap;
/// any other failure leaves the clipboard without the two formats.
void SetButtonPicture(const platform::PicturePtr& picture, std::uint32_t colour);

/// The mask of the pixels that have the colour (0x00RRGGBB); nothing for a side outside 1 to 30000.
std::optional<MaskBitmap> CreateMaskBitmap(const platform::Picture& picture, std::uint32_t rgb);

/// Sets the face from the clipboard's own device-independent bitmap, then the mask.
void PutFaceAndMaskOnClipboard(const MaskBitmap& mask);

}  // namespace TranspCmdBar
}  // namespace corvessa
