#include "windows/forms/metrics.h"

#include "ui/text_layout.h"
#include "windows/com/errors.h"
#include "windows/system/screen_context.h"

namespace corvessa::windows {
namespace {

constexpr int kPointsPerInch = 72;
constexpr int kDialogPoints = 8;
constexpr int kFixedPoints = 9;
/// What a dialog's base unit is in the classic dialog font.
constexpr int kDesignLetterWidth = 6;
constexpr auto kLetters = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr int kLetterCount = 52;

GdiObject<HFONT> MakeFont(const wchar_t* name, int points, BYTE pitch, int dpi) {
  LOGFONTW font = {};
  font.lfHeight = -MulDiv(points, dpi, kPointsPerInch);
  font.lfWeight = FW_NORMAL;
  font.lfCharSet = DEFAULT_CHARSET;
  font.lfPitchAndFamily = pitch;
  lstrcpynW(font.lfFaceName, name, LF_FACESIZE);
  GdiObject<HFONT> made(CreateFontIndirectW(&font));
  if (!made) com::Check(E_OUTOFMEMORY);
  return made;
}

SIZE Extent(HFONT font, const std::wstring& text) {
  const ScreenContext screen;
  const HGDIOBJ before = SelectObject(screen.Get(), font);
  SIZE size = {};
  GetTextExtentPoint32W(screen.Get(), text.data(), static_cast<int>(text.size()), &size);
  SelectObject(screen.Get(), before);
  return size;
}

}  // namespace

int ScreenDpi() {
  const ScreenContext screen;
  const int dpi = GetDeviceCaps(screen.Get(), LOGPIXELSY);
  return dpi > 0 ? dpi : USER_DEFAULT_SCREEN_DPI;
}

Metrics::Metrics(int dpi)
    : dialog_font_(MakeFont(L"MS Shell Dlg", kDialogPoints, VARIABLE_PITCH | FF_SWISS, dpi)),
      fixed_font_(MakeFont(L"Courier New", kFixedPoints, FIXED_PITCH | FF_MODERN, dpi)) {
  const SIZE letters = Extent(DialogFont(), kLetters);
  const Scale resolution{dpi, USER_DEFAULT_SCREEN_DPI};
  line_height_ = letters.cy;
  across_ = Larger(resolution, {letters.cx, kLetterCount * kDesignLetterWidth});
  down_ = Larger(resolution, {letters.cy, kTextLineHeight});
}

Metrics::Scale Metrics::Larger(Scale one, Scale other) {
  return one.times * other.by < other.times * one.by ? other : one;
}

RECT Metrics::OnScreen(const Rect& bounds) const {
  return {Across(bounds.left), Down(bounds.top), Across(bounds.left + bounds.width),
          Down(bounds.top + bounds.height)};
}

int Metrics::TextWidth(const std::wstring& text) const {
  return Extent(DialogFont(), text).cx;
}

int Metrics::ModelTextWidth(const std::wstring& text) const {
  return (TextWidth(text) * across_.by + across_.times - 1) / across_.times;
}

}  // namespace corvessa::windows
