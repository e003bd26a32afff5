#include "windows/system/bitmap.h"

#include <cstring>
#include <ole2.h>
#include <olectl.h>
#include <wrl/client.h>

#include "base/error.h"
#include "windows/system/files.h"
#include "windows/system/screen_context.h"

namespace corvessa::windows {
namespace {

using Microsoft::WRL::ComPtr;

constexpr int kLongestSide = 30000;

/// Rows top-down, 32 bits a pixel, as platform::Picture has them.
BITMAPINFO Format(int width, int height) {
  BITMAPINFO format = {};
  format.bmiHeader.biSize = sizeof format.bmiHeader;
  format.bmiHeader.biWidth = width;
  format.bmiHeader.biHeight = -height;
  format.bmiHeader.biPlanes = 1;
  format.bmiHeader.biBitCount = 32;
  format.bmiHeader.biCompression = BI_RGB;
  return format;
}

ComPtr<IStream> StreamOf(std::string_view content) {
  ComPtr<IStream> stream;
  const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, content.size());
  void* const bytes = block ? GlobalLock(block) : nullptr;
  if (!bytes) throw std::bad_alloc();
  std::memcpy(bytes, content.data(), content.size());
  GlobalUnlock(block);
  if (FAILED(CreateStreamOnHGlobal(block, TRUE, &stream))) {
    GlobalFree(block);
    throw std::bad_alloc();
  }
  return stream;
}

void ReadPixels(HBITMAP bitmap, platform::Picture& picture) {
  BITMAP facts = {};
  if (!GetObjectW(bitmap, sizeof facts, &facts)) Raise(kInvalidPicture);
  if (facts.bmWidth < 1 || facts.bmWidth > kLongestSide) Raise(kInvalidPicture);
  if (facts.bmHeight < 1 || facts.bmHeight > kLongestSide) Raise(kInvalidPicture);
  picture.width = facts.bmWidth;
  picture.height = facts.bmHeight;
  picture.pixels.resize(static_cast<std::size_t>(facts.bmWidth) *
                        static_cast<std::size_t>(facts.bmHeight));
  BITMAPINFO format = Format(picture.width, picture.height);
  const ScreenContext screen;
  const int rows = GetDIBits(screen.Get(), bitmap, 0, static_cast<UINT>(picture.height),
                             picture.pixels.data(), &format, DIB_RGB_COLORS);
  if (rows != picture.height) Raise(kInvalidPicture);
  for (std::uint32_t& pixel : picture.pixels) pixel &= 0xFFFFFF;
}

}  // namespace

HBITMAP MakeBitmap(const platform::Picture& picture) {
  if (picture.pixels.empty()) return nullptr;
  const BITMAPINFO format = Format(picture.width, picture.height);
  const ScreenContext screen;
  return CreateDIBitmap(screen.Get(), &format.bmiHeader, CBM_INIT, picture.pixels.data(), &format,
                        DIB_RGB_COLORS);
}

platform::PicturePtr OlePictures::Load(std::string_view path) {
  const std::string content = WindowsFiles().Read(path);
  const ComPtr<IStream> stream = StreamOf(content);
  ComPtr<IPicture> loaded;
  short type = PICTYPE_NONE;
  OLE_HANDLE handle = 0;
  // FALSE keeps the original beside the bitmap; with TRUE, Wine keeps the bitmap for good.
  if (FAILED(OleLoadPicture(stream.Get(), static_cast<LONG>(content.size()), FALSE, IID_IPicture,
                            reinterpret_cast<void**>(loaded.GetAddressOf()))) ||
      FAILED(loaded->get_Type(&type)) || FAILED(loaded->get_Handle(&handle))) {
    Raise(kInvalidPicture);
  }
  auto picture = std::make_shared<platform::Picture>();
  picture->type = static_cast<platform::PictureType>(type);
  picture->source = path;
  if (type == PICTYPE_BITMAP) {
    ReadPixels(reinterpret_cast<HBITMAP>(static_cast<UINT_PTR>(handle)), *picture);
  }
  return picture;
}

}  // namespace corvessa::windows
