#pragma once

#include <array>
#include <windows.h>

// It needs what the first one declares.
#include <uxtheme.h>

namespace corvessa::gallery {

/// The colours of high contrast, without a theme, while it lives; as a user who asks for it gets
/// them, also for windows that are open already.
class HighContrast {
 public:
  static constexpr int kColours = 31;

  HighContrast() {
    for (int i = 0; i < kColours; ++i) {
      places_[i] = i;
      before_[i] = GetSysColor(i);
    }
    UseTheme(FALSE);
    std::array<COLORREF, kColours> colours = {};
    colours.fill(kBackground);
    for (const int text : {COLOR_MENUTEXT, COLOR_WINDOWTEXT, COLOR_CAPTIONTEXT, COLOR_BTNTEXT,
                           COLOR_HIGHLIGHTTEXT, COLOR_INFOTEXT, COLOR_3DLIGHT, COLOR_3DDKSHADOW}) {
      colours[text] = kText;
    }
    for (const int frame : {COLOR_WINDOWFRAME, COLOR_BTNSHADOW, COLOR_BTNHIGHLIGHT,
                            COLOR_ACTIVEBORDER, COLOR_INACTIVEBORDER}) {
      colours[frame] = kFrame;
    }
    for (const int chosen : {COLOR_HIGHLIGHT, COLOR_ACTIVECAPTION, COLOR_GRADIENTACTIVECAPTION}) {
      colours[chosen] = kChosen;
    }
    for (const int disabled : {COLOR_GRAYTEXT, COLOR_INACTIVECAPTIONTEXT}) {
      colours[disabled] = kDisabled;
    }
    SetSysColors(kColours, places_.data(), colours.data());
  }
  ~HighContrast() {
    UseTheme(TRUE);
    SetSysColors(kColours, places_.data(), before_.data());
  }
  HighContrast(const HighContrast&) = delete;
  HighContrast& operator=(const HighContrast&) = delete;

  static constexpr COLORREF kBackground = RGB(0, 0, 0);
  static constexpr COLORREF kText = RGB(255, 255, 255);
  static constexpr COLORREF kDisabled = RGB(0, 255, 0);
  static constexpr COLORREF kFrame = RGB(192, 192, 192);
  static constexpr COLORREF kChosen = RGB(128, 0, 128);

 private:
  static void UseTheme(BOOL uses) {
    EnableTheming(uses);
    SendMessageW(HWND_BROADCAST, WM_THEMECHANGED, 0, 0);
  }

  std::array<int, kColours> places_ = {};
  std::array<COLORREF, kColours> before_ = {};
};

}  // namespace corvessa::gallery
