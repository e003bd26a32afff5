#include <optional>
#include <set>
#include <vector>

#include "base/text.h"
#include "gallery/high_contrast.h"
#include "message/frm_message_status.h"
#include "ui/controls.h"
#include "ui/list_controls.h"
#include "win32/utf16.h"
#include "windows/forms/common_controls.h"
#include "windows/forms/forms_fixture.h"

/// Every form of the add-in as it is drawn.
namespace corvessa::testing {
namespace {

struct Seen {
  Control* control;
  HWND window;
  RECT place;
  bool is_background;
};

std::string Name(const Seen& seen) {
  return seen.control->Parent().Name() + "." + seen.control->Dump();
}

std::vector<Seen> SeenControls(Form& form, HWND window) {
  std::vector<Seen> seen;
  for (Control* const control : form.Controls()) {
    const std::string index =
        control->Index() < 0 ? "" : "(" + std::to_string(control->Index()) + ")";
    const HWND child = FindControl(window, control->Name() + index);
    if (!child || !IsWindowVisible(child)) continue;
    RECT place = {};
    GetWindowRect(child, &place);
    MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&place), 2);
    const std::string_view type = control->TypeName();
    seen.push_back({control, child, place, type == "Frame" || type == "TabStrip"});
  }
  return seen;
}

/// The size of a window's text in its own font, wrapped at the width unless that is 0.
SIZE TextSize(HWND window, int width) {
  const std::wstring text = win32::ShownUtf16(TextOf(window));
  const HDC context = GetDC(window);
  const HGDIOBJ before = SelectObject(context, reinterpret_cast<HFONT>(Send(window, WM_GETFONT)));
  RECT area = {0, 0, width, 0};
  DrawTextW(context, text.c_str(), -1, &area,
            DT_CALCRECT | (width > 0 ? DT_WORDBREAK | DT_EDITCONTROL : DT_SINGLELINE));
  SelectObject(context, before);
  ReleaseDC(window, context);
  return {area.right, area.bottom};
}

/// Whether the text fits beside what the control draws around it.
bool TextFits(const Seen& seen) {
  if (!dynamic_cast<CaptionedControl*>(seen.control)) return true;
  const int width = seen.place.right - seen.place.left;
  const int height = seen.place.bottom - seen.place.top;
  const std::string_view type = seen.control->TypeName();
  if (type == "Label") {
    const SIZE size = TextSize(seen.window, width);
    return size.cx <= width && size.cy <= height;
  }
  const int letter = TextSize(seen.window, 0).cy / 2;
  const int around = type == "CommandButton" ? letter : type == "Frame" ? 3 * letter : 4 * letter;
  const SIZE size = TextSize(seen.window, 0);
  return size.cx + around <= width && (type == "Frame" || size.cy <= height);
}

bool IsInside(const RECT& inner, const RECT& outer) {
  return inner.left >= outer.left && inner.right <= outer.right && inner.top >= outer.top &&
         inner.bottom <= outer.bottom;
}

/// Left to right and down, where a column counts as one.
bool ComesAfter(const RECT& one, const RECT& before) {
  const bool is_below = one.top >= before.bottom;
  const bool is_beside = one.left >= before.right && one.bottom > before.top;
  return is_below || is_beside;
}

/// For people who cannot see it: its own caption, its header, or the label before it.
bool HasName(const Seen& seen) {
  if (dynamic_cast<CaptionedControl*>(seen.control) || dynamic_cast<TabStrip*>(seen.control)) {
    return true;
  }
  const HWND before = GetWindow(seen.window, GW_HWNDPREV);
  return ClassOf(before) == L"Static" && !TextOf(before).empty();
}

void Check(Form& form) {
  const HWND window = FindForm(GetCurrentThreadId(), form.Name());
  ASSERT_TRUE(window) << form.Name();
  RECT client = {};
  GetClientRect(window, &client);
  const std::vector<Seen> all = SeenControls(form, window);
  std::optional<Seen> last_stop;
  for (const Seen& one : all) {
    EXPECT_TRUE(IsInside(one.place, client)) << Name(one);
    EXPECT_TRUE(TextFits(one)) << Name(one);
    for (const Seen& other : all) {
      RECT common = {};
      if (&one >= &other || !IntersectRect(&common, &one.place, &other.place)) continue;
      const bool is_held = (one.is_background && IsInside(other.place, one.place)) ||
                           (other.is_background && IsInside(one.place, other.place));
      EXPECT_TRUE(is_held) << Name(one) << " overlaps " << Name(other);
    }
    if (!one.control->TakesFocus()) continue;
    EXPECT_TRUE(HasName(one)) << Name(one);
    if (last_stop && !last_stop->is_background) {
      EXPECT_TRUE(ComesAfter(one.place, last_stop->place))
          << Name(one) << " comes after " << Name(*last_stop);
    }
    last_stop = one;
  }
}

/// As another language may say it.
std::string Longer(const std::string& text) {
  return text + " " + std::string(text.begin(), text.begin() + static_cast<int>(text.size() / 3));
}

void Lengthen(Form& form) {
  for (Control* const control : form.Controls()) {
    auto* const captioned = dynamic_cast<CaptionedControl*>(control);
    const auto* const label = dynamic_cast<Label*>(control);
    if (!captioned || captioned->Caption().empty() || (label && !label->UsesMnemonic())) continue;
    captioned->SetCaption(Longer(captioned->Caption()));
  }
}

constexpr auto kLong = "Corvessa Professional for Outlook";

struct Variant {
  const char* name;
  const char* long_name;
  int dpi;
  bool is_longer;
};

TEST(FormVariantsTest, EveryTextFitsNothingOverlapsAndTheTabOrderFollowsTheEye) {
  for (const Variant& variant :
       {Variant{"plain", kLong, 96, false}, Variant{"larger text", kLong, 144, false},
        Variant{"a long brand name", "Marrow-Guard Professional Edition for Microsoft Outlook", 96,
                false},
        Variant{"longer texts", kLong, 96, true}}) {
    gallery::SetBrand("Corvessa", variant.long_name);
    const gallery::FormsHost host(variant.dpi);
    for (const gallery::FormCase& one : gallery::FormTable()) {
      SCOPED_TRACE(std::string(variant.name) + ", " + one.picture);
      const FormPtr form = one.make();
      if (variant.is_longer) Lengthen(*form);
      form->Show();
      Check(*form);
      DropLoadedForms();
    }
  }
}

/// What a window shows, read off the screen.
class Shown {
 public:
  explicit Shown(HWND window) {
    const HDC source = GetDC(window);
    GetClientRect(window, &area_);
    BITMAPINFO format = {};
    format.bmiHeader = {sizeof format.bmiHeader, area_.right, -area_.bottom, 1, 32, BI_RGB};
    const HDC copy = CreateCompatibleDC(source);
    void* bits = nullptr;
    const HBITMAP bitmap = CreateDIBSection(source, &format, DIB_RGB_COLORS, &bits, nullptr, 0);
    const HGDIOBJ before = SelectObject(copy, bitmap);
    BitBlt(copy, 0, 0, area_.right, area_.bottom, source, 0, 0, SRCCOPY);
    GdiFlush();
    const auto* const pixels = static_cast<const DWORD*>(bits);
    pixels_.assign(pixels, pixels + area_.right * area_.bottom);
    SelectObject(copy, before);
    DeleteObject(bitmap);
    DeleteDC(copy);
    ReleaseDC(window, source);
  }
  std::set<COLORREF> ColoursIn(RECT place) const {
    IntersectRect(&place, &place, &area_);
    std::set<COLORREF> colours;
    for (LONG y = place.top; y < place.bottom; ++y) {
      for (LONG x = place.left; x < place.right; ++x) {
        const DWORD pixel = pixels_[static_cast<std::size_t>(y * area_.right + x)];
        colours.insert(RGB(pixel >> 16 & 0xFF, pixel >> 8 & 0xFF, pixel & 0xFF));
      }
    }
    return colours;
  }

 private:
  RECT area_ = {};
  std::vector<DWORD> pixels_;
};

TEST_F(FormsTest, InHighContrastEveryControlIsDrawnInTheColoursOfTheSystem) {
  using gallery::HighContrast;
  for (const gallery::FormCase& one : gallery::FormTable()) {
    const FormPtr form = one.make();
    const HWND window = Show(*form);
    const HighContrast contrast;
    host.ui.DoEvents();
    const Shown shown(window);
    for (const Seen& seen : SeenControls(*form, window)) {
      if (dynamic_cast<Image*>(seen.control) || seen.is_background) continue;
      std::set<COLORREF> colours = shown.ColoursIn(seen.place);
      const auto* const captioned = dynamic_cast<CaptionedControl*>(seen.control);
      // The system's own disabled buttons have shadows instead of a colour.
      if (captioned && !captioned->Caption().empty() && seen.control->IsUsable()) {
        EXPECT_TRUE(colours.contains(HighContrast::kText)) << one.picture << " " << Name(seen);
      }
      for (const COLORREF known :
           {HighContrast::kBackground, HighContrast::kText, HighContrast::kDisabled,
            HighContrast::kFrame, HighContrast::kChosen}) {
        colours.erase(known);
      }
      EXPECT_EQ(colours, std::set<COLORREF>()) << one.picture << " " << Name(seen);
    }
    DropLoadedForms();
  }
}

TEST_F(FormsTest, WhatIsShortenedIsWholeInAToolTipWithoutWhatDisguisesIt) {
  const auto form = Make<frmMessageStatus>("message-status-long");
  const HWND window = Show(*form);
  const HWND label = FindControl(window, "lblFrom");
  EXPECT_EQ(TextOf(label), ForDisplay(form->lblFrom.Caption()));
  const HWND tips = FindWindowExW(nullptr, nullptr, TOOLTIPS_CLASSW, nullptr);
  wchar_t text[300] = {};
  TTTOOLINFOW tool = {};
  tool.cbSize = TTTOOLINFOW_V1_SIZE;
  tool.hwnd = window;
  tool.uId = reinterpret_cast<UINT_PTR>(label);
  tool.lpszText = text;
  Send(tips, TTM_GETTEXTW, 300, reinterpret_cast<LPARAM>(&tool));
  EXPECT_EQ(win32::ShownUtf8(text),
            "A name & a subject that are longer than any label, that turn the writing around and "
            "that go on and on and on until they end somewhere here");
}

}  // namespace
}  // namespace corvessa::testing
