#include <algorithm>
#include <utility>

#include "ui/controls.h"
#include "ui/list_controls.h"
#include "win32/utf16.h"
#include "windows/forms/common_controls.h"
#include "windows/forms/control_kinds.h"
#include "windows/forms/metrics.h"
#include "windows/forms/pictures.h"

namespace corvessa::windows {
namespace {

class TabStripWindow final : public ControlWindow {
 public:
  TabStripWindow(ControlSite& site, TabStrip& tabs)
      : ControlWindow(site, tabs, {WC_TABCONTROLW, WS_CLIPSIBLINGS | WS_TABSTOP}), tabs_(tabs) {
    int place = 0;
    for (const std::string& caption : tabs.Captions()) {
      std::wstring wide = win32::ShownUtf16(caption);
      TCITEMW item = {};
      item.mask = TCIF_TEXT;
      item.pszText = wide.data();
      Send(TCM_INSERTITEMW, static_cast<WPARAM>(place++), reinterpret_cast<LPARAM>(&item));
    }
  }

  LRESULT OnNotify(const NMHDR& notification) override {
    if (notification.code == static_cast<UINT>(TCN_SELCHANGE)) tabs_.ClickTab(SelectedTab());
    return 0;
  }
  bool IsBackground() const override { return true; }
  HBRUSH PageBrush() override {
    // Drawing the page asks for what is under it, and so comes back here.
    if (!page_ && !std::exchange(is_drawing_page_, true)) {
      page_ = MakePageBrush();
      is_drawing_page_ = false;
    }
    return page_.get();
  }

 private:
  /// The strip itself, which draws its page as the theme has it.
  GdiObject<HBRUSH> MakePageBrush() const {
    RECT area = {};
    GetClientRect(Handle(), &area);
    const HDC screen = GetDC(Handle());
    const HDC context = CreateCompatibleDC(screen);
    const GdiObject<HBITMAP> page(CreateCompatibleBitmap(screen, area.right, area.bottom));
    const HGDIOBJ before = SelectObject(context, page.get());
    FillRect(context, &area, GetSysColorBrush(COLOR_BTNFACE));
    Send(WM_PRINTCLIENT, reinterpret_cast<WPARAM>(context), PRF_CLIENT);
    SelectObject(context, before);
    DeleteDC(context);
    ReleaseDC(Handle(), screen);
    return GdiObject<HBRUSH>(CreatePatternBrush(page.get()));
  }
  int SelectedTab() const { return static_cast<int>(Send(TCM_GETCURSEL)) + 1; }
  LRESULT OnMessage(UINT message, WPARAM word, LPARAM data) override {
    // The system reports a click on a tab only when the selection changes by it.
    TCHITTESTINFO hit = {};
    hit.pt = {static_cast<short>(LOWORD(data)), static_cast<short>(HIWORD(data))};
    const bool is_click = message == WM_LBUTTONDOWN || message == WM_LBUTTONDBLCLK;
    const bool is_again =
        is_click && Send(TCM_HITTEST, 0, reinterpret_cast<LPARAM>(&hit)) + 1 == SelectedTab();
    const LRESULT result = ControlWindow::OnMessage(message, word, data);
    const bool is_redrawn =
        message == WM_SIZE || message == WM_THEMECHANGED || message == WM_SYSCOLORCHANGE;
    if (is_redrawn) page_.reset();
    if (is_again) tabs_.ClickTab(SelectedTab());
    return result;
  }
  void UpdateContent() override { Send(TCM_SETCURSEL, static_cast<WPARAM>(tabs_.Selected() - 1)); }

  TabStrip& tabs_;
  GdiObject<HBRUSH> page_;
  bool is_drawing_page_ = false;
};

class ProgressBarWindow final : public ControlWindow {
 public:
  ProgressBarWindow(ControlSite& site, ProgressBar& bar)
      : ControlWindow(site, bar, {PROGRESS_CLASSW}), bar_(bar) {}

 private:
  void UpdateContent() override {
    Send(PBM_SETRANGE32, static_cast<WPARAM>(bar_.Min()), bar_.Max());
    Send(PBM_SETPOS, static_cast<WPARAM>(std::min(bar_.Value(), bar_.Max())));
  }

  ProgressBar& bar_;
};

class ImageWindow final : public ControlWindow {
 public:
  ImageWindow(ControlSite& site, Image& image)
      : ControlWindow(site, image, {WC_STATICW, SS_OWNERDRAW}), image_(image) {}

  void Draw(const DRAWITEMSTRUCT& drawing) override {
    FillRect(drawing.hDC, &drawing.rcItem, Site().BackgroundOf(*this, drawing.hDC));
    if (image_.Picture()) DrawPicture(drawing.hDC, *image_.Picture(), drawing.rcItem, Measures());
  }

 private:
  void UpdateContent() override { InvalidateRect(Handle(), nullptr, FALSE); }

  Image& image_;
};

}  // namespace

std::unique_ptr<ControlWindow> MakeTabStrip(ControlSite& site, Control& control) {
  auto* const tabs = dynamic_cast<TabStrip*>(&control);
  return tabs ? std::make_unique<TabStripWindow>(site, *tabs) : nullptr;
}

std::unique_ptr<ControlWindow> MakeProgressBar(ControlSite& site, Control& control) {
  auto* const bar = dynamic_cast<ProgressBar*>(&control);
  return bar ? std::make_unique<ProgressBarWindow>(site, *bar) : nullptr;
}

std::unique_ptr<ControlWindow> MakeImage(ControlSite& site, Control& control) {
  auto* const image = dynamic_cast<Image*>(&control);
  return image ? std::make_unique<ImageWindow>(site, *image) : nullptr;
}

}  // namespace corvessa::windows
