#include <algorithm>

#include "base/text.h"
#include "ui/controls.h"
#include "win32/utf16.h"
#include "windows/forms/common_controls.h"
#include "windows/forms/control_kinds.h"
#include "windows/forms/metrics.h"
#include "windows/forms/window_text.h"

namespace corvessa::windows {
namespace {

constexpr DWORD kStyle = WS_TABSTOP;
constexpr DWORD kLineStyle = kStyle | ES_AUTOHSCROLL;
constexpr DWORD kLinesStyle = kStyle | ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL | WS_VSCROLL;

/// Passphrases up to this length. When a text outgrows the system's text box, the box moves it and
/// leaves a copy behind.
constexpr std::size_t kUsualSecret = 1000;

/// A box of one line, which the user types into. A passphrase is overwritten, in the box and in
/// what the box keeps for undoing, when the box is cleared or closed. Out of reach are the copies
/// of one longer than usual, and those of an input method or the clipboard that it came from.
class LineBoxWindow final : public ControlWindow {
 public:
  LineBoxWindow(ControlSite& site, TextBox& box)
      : ControlWindow(
            site, box,
            {WC_EDITW, kLineStyle | (box.IsPassword() ? DWORD{ES_PASSWORD} : 0), WS_EX_CLIENTEDGE}),
        box_(box),
        is_secret_(box.IsPassword()) {
    if (!is_secret_) return;
    Send(EM_SETPASSWORDCHAR, L'*');
    // It keeps the room that this takes.
    WipeTextBox(Handle(), kUsualSecret);
  }
  ~LineBoxWindow() override {
    if (is_secret_) WipeTextBox(Handle(), longest_);
  }

  void OnCommand(int notification) override {
    if (notification != EN_CHANGE) return;
    NoteLength();
    if (!IsUpdating()) box_.Type(TextOf(Handle()).View());
  }
  void TakeFocus() override {
    ControlWindow::TakeFocus();
    Send(EM_SETSEL, 0, -1);
  }

 private:
  LRESULT OnMessage(UINT message, WPARAM word, LPARAM data) override {
    // Nothing of a passphrase leaves the box but through the model.
    const bool would_leak = message == WM_CONTEXTMENU || message == WM_COPY || message == WM_CUT ||
                            message == WM_UNDO || message == EM_UNDO || message == EM_CANUNDO;
    if (is_secret_ && would_leak) return 0;
    return ControlWindow::OnMessage(message, word, data);
  }
  void UpdateContent() override {
    if (TextOf(Handle()).View() == box_.Text()) return;
    if (is_secret_) WipeTextBox(Handle(), longest_);
    SetText(Handle(), box_.Text());
    NoteLength();
  }
  void NoteLength() {
    longest_ = std::max(longest_, static_cast<std::size_t>(GetWindowTextLengthW(Handle())));
  }

  TextBox& box_;
  bool is_secret_;
  std::size_t longest_ = 0;
};

/// A box of several lines, which only tells. A log is shown without what disguises a text, the
/// original of a message as it is.
class LinesBoxWindow final : public ControlWindow {
 public:
  LinesBoxWindow(ControlSite& site, TextBox& box)
      : ControlWindow(site, box, {WC_EDITW, kLinesStyle, WS_EX_CLIENTEDGE}), box_(box) {
    Send(EM_SETLIMITTEXT);
    if (box.HasFixedPitch()) {
      Send(WM_SETFONT, reinterpret_cast<WPARAM>(Measures().FixedFont()));
    }
  }

 private:
  void UpdateContent() override {
    SetWindowTextW(Handle(), Shown(box_.Text()).c_str());
    Send(EM_SETSEL);
  }
  void UpdateAppended() override {
    const auto end = static_cast<WPARAM>(GetWindowTextLengthW(Handle()));
    const std::wstring added = Shown(box_.Text().substr(box_.SelStart()));
    Send(EM_SETSEL, end, static_cast<LPARAM>(end));
    Send(EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(added.c_str()));
    Send(EM_SETSEL, end, static_cast<LPARAM>(end));
    Send(EM_SCROLLCARET);
  }
  std::wstring Shown(std::string_view text) const {
    if (!box_.HasFixedPitch()) return ShownLines(text);
    std::wstring shown = win32::ShownUtf16(WithCrLf(text));
    // It would end the text.
    std::ranges::replace(shown, L'\0', L'\xFFFD');
    return shown;
  }

  TextBox& box_;
};

}  // namespace

std::unique_ptr<ControlWindow> MakeTextBox(ControlSite& site, Control& control) {
  auto* const box = dynamic_cast<TextBox*>(&control);
  if (!box) return nullptr;
  if (box->IsMultiLine()) return std::make_unique<LinesBoxWindow>(site, *box);
  return std::make_unique<LineBoxWindow>(site, *box);
}

}  // namespace corvessa::windows
