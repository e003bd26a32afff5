#pragma once

#include <memory>
#include <string>
#include <type_traits>
#include <windows.h>

#include "ui/control.h"

namespace corvessa::windows {

struct GdiObjectDeleter {
  void operator()(HGDIOBJ object) const { DeleteObject(object); }
};
/// A font, bitmap or brush that deletes itself.
template <typename Handle>
using GdiObject = std::unique_ptr<std::remove_pointer_t<Handle>, GdiObjectDeleter>;

int ScreenDpi();

/// The fonts of the forms, and the size on this screen of what the models measure in pixels of a
/// 96-dpi one. Both scales follow the font where it is larger than the resolution says, so that
/// what fits in a model fits on the screen.
class Metrics {
 public:
  explicit Metrics(int dpi = ScreenDpi());

  /// The system's font of dialogs, 8 points.
  HFONT DialogFont() const { return dialog_font_.get(); }
  HFONT FixedFont() const { return fixed_font_.get(); }
  /// Of a line in the dialog font.
  int LineHeight() const { return line_height_; }

  int Across(int pixels) const { return MulDiv(pixels, across_.times, across_.by); }
  int Down(int pixels) const { return MulDiv(pixels, down_.times, down_.by); }
  RECT OnScreen(const Rect& bounds) const;
  int ModelWidth(int pixels) const { return MulDiv(pixels, across_.by, across_.times); }
  int ModelHeight(int pixels) const { return MulDiv(pixels, down_.by, down_.times); }

  /// The drawn width of a text in the dialog font.
  int TextWidth(const std::wstring& text) const;
  /// The same in the model's pixels; rounded up.
  int ModelTextWidth(const std::wstring& text) const;

 private:
  struct Scale {
    int times;
    int by;
  };
  static Scale Larger(Scale one, Scale other);

  GdiObject<HFONT> dialog_font_;
  GdiObject<HFONT> fixed_font_;
  int line_height_ = 0;
  Scale across_{1, 1};
  Scale down_{1, 1};
};

}  // namespace corvessa::windows
