#include <algorithm>
#include <utility>

#include "ui/form.h"
#include "ui/list_controls.h"
#include "win32/utf16.h"
#include "windows/forms/common_controls.h"
#include "windows/forms/control_kinds.h"
#include "windows/forms/metrics.h"
#include "windows/forms/pictures.h"
#include "windows/forms/window_text.h"

namespace corvessa::windows {
namespace {

class ComboBoxWindow final : public ControlWindow {
 public:
  ComboBoxWindow(ControlSite& site, ComboBox& box)
      : ControlWindow(site, box, {WC_COMBOBOXW, CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP}),
        box_(box) {
    UpdateBounds();
  }

  void OnCommand(int notification) override {
    if (notification == CBN_SELCHANGE && !IsUpdating()) {
      box_.ClickRow(static_cast<int>(Send(CB_GETCURSEL)));
    }
  }
  std::wstring HiddenText() const override {
    if (!box_.Hint().empty()) return ShownLine(box_.Hint());
    const std::wstring text = ShownLine(box_.SelectedText());
    const int room = Measures().Across(box_.Bounds().width) - GetSystemMetrics(SM_CXVSCROLL) -
                     4 * GetSystemMetrics(SM_CXEDGE);
    return Measures().TextWidth(text) > room ? text : std::wstring();
  }

 private:
  static constexpr int kDroppedRows = 8;

  /// The height of the window of a combo box is that of its list when it is dropped.
  void UpdateBounds() override {
    const RECT place = Measures().OnScreen(box_.Bounds());
    const int height = place.bottom - place.top + kDroppedRows * Measures().LineHeight();
    SetWindowPos(Handle(), nullptr, place.left, place.top, place.right - place.left, height,
                 SWP_NOZORDER | SWP_NOACTIVATE);
  }
  void UpdateContent() override {
    Send(CB_RESETCONTENT);
    int widest = 0;
    for (int row = 0; row < box_.RowCount(); ++row) {
      const std::wstring text = ShownLine(box_.Row(row));
      Send(CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str()));
      widest = std::max(widest, Measures().TextWidth(text));
    }
    Send(CB_SETDROPPEDWIDTH, static_cast<WPARAM>(widest + 2 * GetSystemMetrics(SM_CXVSCROLL)));
    Send(CB_SETCURSEL, static_cast<WPARAM>(box_.Selected()));
  }

  ComboBox& box_;
};

/// A list box and a list view are the same control: it shortens a long row by "..." and shows it
/// whole in a tool tip.
class ListWindow final : public ControlWindow {
 public:
  ListWindow(ControlSite& site, RowsControl& rows)
      : ControlWindow(site, rows,
                      {WC_LISTVIEWW,
                       LVS_REPORT | LVS_SINGLESEL | LVS_SHOWSELALWAYS | WS_TABSTOP |
                           (HeaderOf(rows).empty() ? DWORD{LVS_NOCOLUMNHEADER} : 0),
                       WS_EX_CLIENTEDGE}),
        rows_(rows),
        marks_(dynamic_cast<ListBox*>(&rows)),
        view_(dynamic_cast<ListView*>(&rows)) {
    if (marks_ && !marks_->HasCheckBoxes()) marks_ = nullptr;
    Send(LVM_SETEXTENDEDLISTVIEWSTYLE, 0,
         LVS_EX_FULLROWSELECT | LVS_EX_LABELTIP | (marks_ ? LVS_EX_CHECKBOXES : 0));
    LVCOLUMNW column = {};
    Send(LVM_INSERTCOLUMNW, 0, reinterpret_cast<LPARAM>(&column));
    if (HasIcons()) UseIcons();
  }
  LRESULT OnNotify(const NMHDR& notification) override {
    const auto& change = reinterpret_cast<const NMLISTVIEW&>(notification);
    const auto gets = [&](UINT state) {
      return (change.uNewState & state) != 0 && (change.uOldState & state) == 0;
    };
    if (IsUpdating()) return 0;
    if (notification.code == static_cast<UINT>(LVN_ITEMCHANGING)) {
      return gets(LVIS_SELECTED) && !rows_.IsSelectable();
    }
    if (notification.code != static_cast<UINT>(LVN_ITEMCHANGED)) return 0;
    if (marks_ && IsChecked(change.uNewState) != IsChecked(change.uOldState) &&
        (change.uOldState & LVIS_STATEIMAGEMASK) != 0) {
      marks_->ToggleRow(change.iItem);
    } else if (gets(LVIS_SELECTED) && change.iItem != rows_.Selected()) {
      rows_.ClickRow(change.iItem);
    }
    return 0;
  }
  void TakeFocus() override {
    ControlWindow::TakeFocus();
    // Without a row that has the focus, the arrow keys have no place to begin.
    if (Send(LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_FOCUSED) < 0) {
      SetRowState(0, LVIS_FOCUSED, LVIS_FOCUSED);
    }
  }

 private:
  static constexpr UINT kUncheckedState = INDEXTOSTATEIMAGEMASK(1);
  static constexpr UINT kCheckedState = INDEXTOSTATEIMAGEMASK(2);

  static bool IsChecked(UINT state) { return (state & LVIS_STATEIMAGEMASK) == kCheckedState; }
  static std::string HeaderOf(const RowsControl& rows) {
    const auto* const view = dynamic_cast<const ListView*>(&rows);
    return view ? view->ColumnHeader() : "";
  }

  LRESULT OnMessage(UINT message, WPARAM word, LPARAM data) override {
    const LRESULT result = ControlWindow::OnMessage(message, word, data);
    if (message == WM_SIZE) Send(LVM_SETCOLUMNWIDTH, 0, ColumnWidth());
    if (message == WM_SYSCOLORCHANGE) {
      are_pictures_old_ = true;
      Update(platform::ControlChange::kContent);
    }
    return result;
  }
  void UpdateContent() override {
    if (std::exchange(are_pictures_old_, false)) DrawPicturesAgain();
    SetHeader(HeaderOf(rows_));
    const auto count = static_cast<int>(Send(LVM_GETITEMCOUNT));
    for (int row = count; row > rows_.RowCount(); --row) {
      Send(LVM_DELETEITEM, static_cast<WPARAM>(row - 1));
    }
    for (int row = 0; row < rows_.RowCount(); ++row) ShowRow(row, row >= count);
    Send(LVM_SETCOLUMNWIDTH, 0, ColumnWidth());
    if (rows_.Selected() >= 0) Send(LVM_ENSUREVISIBLE, static_cast<WPARAM>(rows_.Selected()));
  }
  void SetHeader(const std::string& header) {
    std::wstring text = win32::ShownUtf16(header);
    LVCOLUMNW column = {};
    column.mask = LVCF_TEXT;
    column.pszText = text.data();
    Send(LVM_SETCOLUMNW, 0, reinterpret_cast<LPARAM>(&column));
    const LONG style = GetWindowLongW(Handle(), GWL_STYLE) & ~LONG{LVS_NOCOLUMNHEADER};
    SetWindowLongW(Handle(), GWL_STYLE, style | (header.empty() ? LVS_NOCOLUMNHEADER : 0));
  }
  void ShowRow(int row, bool is_new) {
    std::wstring text = ShownLine(rows_.Row(row));
    LVITEMW item = {};
    item.mask = LVIF_TEXT | LVIF_IMAGE;
    item.iItem = row;
    item.pszText = text.data();
    item.iImage = view_ ? IconOf(view_->SmallIcon(row)) : I_IMAGENONE;
    Send(is_new ? LVM_INSERTITEMW : LVM_SETITEMW, 0, reinterpret_cast<LPARAM>(&item));
    if (marks_) {
      SetRowState(row, LVIS_STATEIMAGEMASK,
                  marks_->RowChecked(row) ? kCheckedState : kUncheckedState);
    }
    constexpr UINT kChosen = LVIS_SELECTED | LVIS_FOCUSED;
    const bool is_selected = row == rows_.Selected();
    SetRowState(row, is_selected ? kChosen : UINT{LVIS_SELECTED}, is_selected ? kChosen : 0);
  }
  void SetRowState(int row, UINT mask, UINT state) {
    LVITEMW item = {};
    item.stateMask = mask;
    item.state = state;
    Send(LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
  }
  /// That of the list, so that nothing can be scrolled sideways.
  LPARAM ColumnWidth() const {
    RECT area = {};
    GetClientRect(Handle(), &area);
    return area.right;
  }

  /// Those of the form's image lists.
  std::vector<std::string> IconKeys() const {
    std::vector<std::string> keys;
    for (const Control* const control : rows_.Parent().Controls()) {
      const auto* const list = dynamic_cast<const ImageList*>(control);
      if (list) keys.insert(keys.end(), list->Keys().begin(), list->Keys().end());
    }
    return keys;
  }
  bool HasIcons() const { return view_ && !IconKeys().empty(); }
  int IconOf(const std::string& key) const {
    const auto keys = IconKeys();
    const auto found = std::ranges::find(keys, key);
    return found == keys.end() ? I_IMAGENONE : static_cast<int>(found - keys.begin());
  }
  void UseIcons() {
    // The list destroys its last ones with itself, as it does with its check boxes.
    const HIMAGELIST icons =
        MakeRowIcons(Measures().LineHeight(), static_cast<int>(IconKeys().size()));
    const LRESULT before = Send(LVM_SETIMAGELIST, LVSIL_SMALL, reinterpret_cast<LPARAM>(icons));
    ImageList_Destroy(reinterpret_cast<HIMAGELIST>(before));
  }

  /// In the colours of now.
  void DrawPicturesAgain() {
    if (HasIcons()) UseIcons();
    if (!marks_) return;
    for (const LPARAM style : {0, LVS_EX_CHECKBOXES}) {
      Send(LVM_SETEXTENDEDLISTVIEWSTYLE, LVS_EX_CHECKBOXES, style);
    }
  }

  RowsControl& rows_;
  /// Of the same control, if it is such a one.
  ListBox* marks_;
  ListView* view_;
  bool are_pictures_old_ = false;
};

}  // namespace

std::unique_ptr<ControlWindow> MakeRows(ControlSite& site, Control& control) {
  if (auto* const box = dynamic_cast<ComboBox*>(&control)) {
    return std::make_unique<ComboBoxWindow>(site, *box);
  }
  auto* const rows = dynamic_cast<RowsControl*>(&control);
  return rows ? std::make_unique<ListWindow>(site, *rows) : nullptr;
}

}  // namespace corvessa::windows
