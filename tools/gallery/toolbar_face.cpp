#include "gallery/toolbar_face.h"

#include "branding/customization.h"
#include "settings/edition.h"
#include "tracking/transp_cmd_bar.h"
#include "win32/utf16.h"
#include "windows/forms/metrics.h"

namespace corvessa::gallery {
namespace {

constexpr int kSide = 16;
constexpr int kWidth = 120;
constexpr int kHeight = 26;
/// What stays of the picture outside its mask.
constexpr DWORD kWithoutSource = 0x00220326;

void Blit(HDC context, int left, int top, const wchar_t* format, DWORD operation) {
  OpenClipboard(nullptr);
  const HANDLE block = GetClipboardData(RegisterClipboardFormatW(format));
  const auto* const bitmap = static_cast<const BITMAPINFO*>(block ? GlobalLock(block) : nullptr);
  if (bitmap) {
    const BITMAPINFOHEADER& header = bitmap->bmiHeader;
    const DWORD table = header.biBitCount == 1                 ? 2 * sizeof(RGBQUAD)
                        : header.biCompression == BI_BITFIELDS ? 3 * sizeof(DWORD)
                                                               : 0;
    const auto* const bits = reinterpret_cast<const char*>(bitmap) + header.biSize + table;
    StretchDIBits(context, left, top, kSide, kSide, 0, 0, kSide, kSide, bits, bitmap,
                  DIB_RGB_COLORS, operation);
    GlobalUnlock(block);
  }
  CloseClipboard();
}

}  // namespace

HWND ShowToolbarFace() {
  TranspCmdBar::SetButtonPicture(Customization::GetToolbarPicture(), 15195870);
  const HWND window = CreateWindowExW(WS_EX_TOPMOST, L"Static", L"", WS_POPUP | WS_VISIBLE, 100,
                                      100, 2 * kWidth, kHeight, nullptr, nullptr, nullptr, nullptr);
  // The display shows the window when it likes.
  for (const ULONGLONG end = GetTickCount64() + 300; GetTickCount64() < end; Sleep(10)) {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
  }
  const windows::Metrics metrics;
  const HDC screen = GetDC(window);
  const HDC face = CreateCompatibleDC(screen);
  const windows::GdiObject<HBITMAP> bitmap(CreateCompatibleBitmap(screen, kSide, kSide));
  SelectObject(face, bitmap.get());
  Blit(face, 0, 0, L"Toolbar Button Face", SRCCOPY);
  Blit(face, 0, 0, L"Toolbar Button Mask", kWithoutSource);
  SelectObject(screen, metrics.DialogFont());
  SetBkMode(screen, TRANSPARENT);
  const std::wstring caption = win32::ShownUtf16(Customization::AppShortName());
  for (const int left : {0, kWidth}) {
    const bool is_hot = left > 0;
    const RECT area = {left, 0, left + kWidth, kHeight};
    FillRect(screen, &area, GetSysColorBrush(is_hot ? COLOR_HIGHLIGHT : COLOR_BTNFACE));
    SetTextColor(screen, GetSysColor(is_hot ? COLOR_HIGHLIGHTTEXT : COLOR_BTNTEXT));
    Blit(screen, left + 5, 5, L"Toolbar Button Mask", SRCAND);
    BitBlt(screen, left + 5, 5, kSide, kSide, face, 0, 0, SRCPAINT);
    TextOutW(screen, left + 26, 6, caption.c_str(), static_cast<int>(caption.size()));
  }
  DeleteDC(face);
  ReleaseDC(window, screen);
  return window;
}

}  // namespace corvessa::gallery
