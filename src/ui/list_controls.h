#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ui/control.h"

namespace corvessa {

/// A control that offers rows of text, one of which may be selected. Rows count from 0, -1 is none.
class RowsControl : public Control {
 public:
  std::string Describe() const override;
  bool TakesFocus() const override { return true; }
  int RowCount() const { return static_cast<int>(rows_.size()); }
  /// The text of a row; Error (5) outside the list.
  const std::string& Row(int index) const { return At(index).text; }
  void AddRow(std::string text);
  void RemoveRow(int index);
  void ClearRows();

  int Selected() const { return selected_; }
  /// The text of the selected row; empty when there is none.
  std::string SelectedText() const;
  /// Raises OnClick; an index outside the list selects nothing.
  void Select(int index);
  /// The user's click on a row; nothing happens in a list that only tells.
  void ClickRow(int index);

  /// False for a list that only tells: its rows are none of the user's choices.
  bool IsSelectable() const { return is_selectable_; }
  void SetSelectable(bool selectable);

  Handler OnClick;

 protected:
  RowsControl(Form& form, std::string name, Rect bounds) : Control(form, std::move(name), bounds) {}
  /// What the dump says of a row behind its text.
  virtual std::string DescribeRow(int /*index*/) const { return {}; }

  struct Entry {
    std::string text;
    std::string icon;
    bool checked = false;
  };
  /// Error (5) outside the list.
  const Entry& At(int index) const;
  /// The caller reports the change.
  Entry& At(int index);

 private:
  std::size_t Place(int index) const;

  std::vector<Entry> rows_;
  int selected_ = -1;
  bool is_selectable_ = true;
};

class ComboBox final : public RowsControl {
 public:
  ComboBox(Form& form, std::string name, Rect bounds)
      : RowsControl(form, std::move(name), bounds) {}
  std::string_view TypeName() const override { return "ComboBox"; }
  /// Helps the user to choose: a tool tip, or a line below the rows.
  const std::string& Hint() const { return hint_; }
  void SetHint(std::string hint) {
    hint_ = std::move(hint);
    Report(platform::ControlChange::kContent);
  }

 private:
  std::string hint_;
};

/// A list; with check boxes, each row carries a check mark of its own.
class ListBox final : public RowsControl {
 public:
  ListBox(Form& form, std::string name, Rect bounds, bool has_check_boxes = false)
      : RowsControl(form, std::move(name), bounds), has_check_boxes_(has_check_boxes) {}
  std::string_view TypeName() const override { return "ListBox"; }
  bool HasCheckBoxes() const { return has_check_boxes_; }
  bool RowChecked(int index) const { return At(index).checked; }
  void SetRowChecked(int index, bool checked);
  /// The user's click on the check box of a row.
  void ToggleRow(int index);

 private:
  std::string DescribeRow(int index) const override;

  bool has_check_boxes_;
};

/// The named small pictures of a list view. Only the keys matter to the logic.
class ImageList final : public Control {
 public:
  ImageList(Form& form, std::string name, std::vector<std::string> keys)
      : Control(form, std::move(name), {}), keys_(std::move(keys)) {}
  std::string_view TypeName() const override { return "ImageList"; }
  std::string Describe() const override;
  const std::vector<std::string>& Keys() const { return keys_; }

 private:
  std::vector<std::string> keys_;
};

/// A list in report view with one column; a row may show one picture of an image list.
class ListView final : public RowsControl {
 public:
  ListView(Form& form, std::string name, Rect bounds)
      : RowsControl(form, std::move(name), bounds) {}
  std::string_view TypeName() const override { return "ListView"; }
  std::string Describe() const override;
  /// The key of the row's small icon; empty for none.
  const std::string& SmallIcon(int index) const { return At(index).icon; }
  void SetSmallIcon(int index, std::string key);
  const std::string& ColumnHeader() const { return column_header_; }
  void SetColumnHeader(std::string header);

 private:
  std::string DescribeRow(int index) const override;

  std::string column_header_;
};

/// A row of tabs, counted from 1; one is always selected.
class TabStrip final : public Control {
 public:
  TabStrip(Form& form, std::string name, Rect bounds, std::vector<std::string> captions)
      : Control(form, std::move(name), bounds), captions_(std::move(captions)) {}
  std::string_view TypeName() const override { return "TabStrip"; }
  bool TakesFocus() const override { return true; }
  std::string Describe() const override;
  const std::vector<std::string>& Captions() const { return captions_; }
  int Selected() const { return selected_; }
  /// Raises OnClick when the selection changes; Error (5) for a tab that is not there.
  void Select(int tab);
  /// The user's click on a tab, which raises OnClick also for the selected one.
  void ClickTab(int tab);

  Handler OnClick;

 private:
  bool Has(int tab) const { return tab >= 1 && tab <= static_cast<int>(captions_.size()); }

  std::vector<std::string> captions_;
  int selected_ = 1;
};

}  // namespace corvessa
