#include "ui/controls.h"
#include "ui/text_layout.h"
#include "win32/utf16.h"
#include "windows/forms/common_controls.h"
#include "windows/forms/control_kinds.h"
#include "windows/forms/metrics.h"
#include "windows/forms/window_text.h"

namespace corvessa::windows {
namespace {

/// Draws its text itself: the standard label cannot shorten a text of several lines, nor break a
/// word that is wider than the label, as names and addresses from outside may be.
class LabelWindow final : public ControlWindow {
 public:
  LabelWindow(ControlSite& site, Label& label)
      : ControlWindow(site, label, {WC_STATICW, SS_OWNERDRAW | SS_NOTIFY}), label_(label) {}

  void Draw(const DRAWITEMSTRUCT& drawing) override {
    RECT place = drawing.rcItem;
    SetBkMode(drawing.hDC, TRANSPARENT);
    SetTextColor(drawing.hDC, GetSysColor(label_.IsUsable() ? COLOR_BTNTEXT : COLOR_GRAYTEXT));
    FillRect(drawing.hDC, &place, Site().BackgroundOf(*this, drawing.hDC));
    const HGDIOBJ before = SelectObject(drawing.hDC, Measures().DialogFont());
    const std::wstring text = Text();
    DrawTextW(drawing.hDC, text.c_str(), -1, &place, Format() | DT_END_ELLIPSIS);
    SelectObject(drawing.hDC, before);
  }

  std::wstring HiddenText() const override {
    if (!label_.WholeText().empty()) return ShownLine(label_.WholeText());
    return Fits() ? std::wstring() : Text();
  }

 private:
  bool HasOneLine() const { return label_.Bounds().height < 2 * kTextLineHeight; }
  /// A text of several lines names no control: an access key in it is that of a button.
  bool ShowsAccessKey() const { return label_.UsesMnemonic() && HasOneLine(); }
  UINT Format() const {
    const UINT lines = HasOneLine() ? DT_SINGLELINE : DT_WORDBREAK;
    if (ShowsAccessKey()) return lines;
    // A word from outside may be wider than the label.
    return lines | DT_NOPREFIX | (label_.UsesMnemonic() ? 0 : DT_EDITCONTROL);
  }
  std::wstring Text() const {
    if (ShowsAccessKey()) return win32::ShownUtf16(label_.Caption());
    if (label_.UsesMnemonic()) return win32::ShownUtf16(WithoutAccessKey(label_.Caption()));
    return HasOneLine() ? ShownLine(label_.Caption()) : ShownLines(label_.Caption());
  }
  bool Fits() const {
    RECT area = {};
    GetClientRect(Handle(), &area);
    RECT needed = area;
    const HDC context = GetDC(Handle());
    const HGDIOBJ before = SelectObject(context, Measures().DialogFont());
    const std::wstring text = Text();
    DrawTextW(context, text.c_str(), -1, &needed, Format() | DT_CALCRECT);
    SelectObject(context, before);
    ReleaseDC(Handle(), context);
    return needed.right <= area.right && needed.bottom <= area.bottom;
  }
  void UpdateContent() override {
    // Screen readers take the text from here.
    SetWindowTextW(Handle(), Text().c_str());
    InvalidateRect(Handle(), nullptr, FALSE);
  }

  Label& label_;
};

}  // namespace

std::unique_ptr<ControlWindow> MakeLabel(ControlSite& site, Control& control) {
  auto* const label = dynamic_cast<Label*>(&control);
  return label ? std::make_unique<LabelWindow>(site, *label) : nullptr;
}

}  // namespace corvessa::windows
