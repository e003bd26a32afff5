#pragma once

#include <windows.h>

#include "platform/pictures.h"

namespace corvessa::windows {

/// A bitmap of the screen's kind, which the caller deletes; null for a picture without pixels or
/// when the system cannot make one.
HBITMAP MakeBitmap(const platform::Picture& picture);

/// Loads pictures of the formats that OLE knows: BMP, GIF, JPEG.
class OlePictures final : public platform::Pictures {
 public:
  platform::PicturePtr Load(std::string_view path) override;
};

}  // namespace corvessa::windows
