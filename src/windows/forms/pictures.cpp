#include "windows/forms/pictures.h"

#include <algorithm>

#include "win32/module.h"
#include "win32/utf16.h"
#include "windows/system/bitmap.h"
#include "windows/system/screen_context.h"

namespace corvessa::windows {
namespace {

struct ContextDeleter {
  void operator()(HDC context) const { DeleteDC(context); }
};
using MemoryContext = std::unique_ptr<std::remove_pointer_t<HDC>, ContextDeleter>;

}  // namespace

void DrawPicture(HDC context, const platform::Picture& picture, const RECT& place,
                 const Metrics& metrics) {
  const GdiObject<HBITMAP> bitmap(MakeBitmap(picture));
  const MemoryContext source(CreateCompatibleDC(context));
  if (!bitmap || !source) return;
  int width = metrics.Across(picture.width);
  int height = metrics.Down(picture.height);
  const int most_width = place.right - place.left;
  const int most_height = place.bottom - place.top;
  if (width > most_width) {
    height = MulDiv(height, most_width, width);
    width = most_width;
  }
  if (height > most_height) {
    width = MulDiv(width, most_height, height);
    height = most_height;
  }
  const HGDIOBJ before = SelectObject(source.get(), bitmap.get());
  SetStretchBltMode(context, HALFTONE);
  SetBrushOrgEx(context, 0, 0, nullptr);
  StretchBlt(context, place.left, place.top, width, height, source.get(), 0, 0, picture.width,
             picture.height, SRCCOPY);
  StretchBlt(context, place.left + width, place.top, most_width - width, height, source.get(),
             picture.width - 1, 0, 1, picture.height, SRCCOPY);
  SelectObject(source.get(), before);
}

HIMAGELIST MakeRowIcons(int side, int count) {
  const HIMAGELIST icons = ImageList_Create(side, side, ILC_COLOR32 | ILC_MASK, count, 0);
  const ScreenContext screen;
  const MemoryContext context(CreateCompatibleDC(screen.Get()));
  const GdiObject<HBITMAP> picture(CreateCompatibleBitmap(screen.Get(), side, side));
  const GdiObject<HBITMAP> mark(CreateBitmap(side, side, 1, 1, nullptr));
  if (!icons || !context || !picture || !mark) return icons;
  const HGDIOBJ before = SelectObject(context.get(), mark.get());
  RECT area = {0, 0, side, side};
  // The mark is black on white, and the mask of an image list white where nothing is drawn.
  DrawFrameControl(context.get(), &area, DFC_MENU, DFCS_MENUCHECK);
  SelectObject(context.get(), picture.get());
  FillRect(context.get(), &area, GetSysColorBrush(COLOR_WINDOWTEXT));
  SelectObject(context.get(), before);
  for (int i = 0; i < count; ++i) ImageList_Add(icons, picture.get(), mark.get());
  return icons;
}

HICON FindIcon(const platform::Picture& icon, int width, int height) {
  return static_cast<HICON>(LoadImageW(win32::ThisModule(), win32::ShownUtf16(icon.source).c_str(),
                                       IMAGE_ICON, width, height, LR_SHARED));
}

}  // namespace corvessa::windows
