#include "ui/list_controls.h"

#include "base/error.h"
#include "base/text.h"

namespace corvessa {

using platform::ControlChange;

std::size_t RowsControl::Place(int index) const {
  if (index < 0 || index >= RowCount()) Raise(kInvalidArgument);
  return static_cast<std::size_t>(index);
}

const RowsControl::Entry& RowsControl::At(int index) const {
  return rows_[Place(index)];
}

RowsControl::Entry& RowsControl::At(int index) {
  return rows_[Place(index)];
}

void RowsControl::AddRow(std::string text) {
  rows_.push_back({std::move(text), {}, false});
  Report(ControlChange::kContent);
}

void RowsControl::RemoveRow(int index) {
  At(index);
  rows_.erase(rows_.begin() + index);
  if (selected_ > index || selected_ >= RowCount()) --selected_;
  Report(ControlChange::kContent);
}

void RowsControl::ClearRows() {
  rows_.clear();
  selected_ = -1;
  Report(ControlChange::kContent);
}

void RowsControl::SetSelectable(bool selectable) {
  if (std::exchange(is_selectable_, selectable) != selectable) Report(ControlChange::kContent);
}

std::string RowsControl::SelectedText() const {
  return selected_ < 0 ? "" : Row(selected_);
}

void RowsControl::Select(int index) {
  selected_ = index >= 0 && index < RowCount() ? index : -1;
  Report(ControlChange::kContent);
  RaiseEvent("Click", OnClick);
}

void RowsControl::ClickRow(int index) {
  if (TakesInput() && is_selectable_ && index >= 0 && index < RowCount()) Select(index);
}

std::string RowsControl::Describe() const {
  std::string text = "{";
  for (int i = 0; i < RowCount(); ++i) {
    if (i > 0) text += ", ";
    text += (i == selected_ ? ">\"" : "\"") + Row(i) + "\"" + DescribeRow(i);
  }
  return text + "}";
}

void ListBox::SetRowChecked(int index, bool checked) {
  if (std::exchange(At(index).checked, checked) != checked) Report(ControlChange::kContent);
}

void ListBox::ToggleRow(int index) {
  if (!TakesInput() || index < 0 || index >= RowCount()) return;
  SetRowChecked(index, !RowChecked(index));
  ClickRow(index);
}

std::string ListBox::DescribeRow(int index) const {
  if (!has_check_boxes_) return {};
  return RowChecked(index) ? " [x]" : " [ ]";
}

std::string ImageList::Describe() const {
  std::string text = "{";
  for (const std::string& key : keys_) text += (text.size() > 1 ? ", \"" : "\"") + key + "\"";
  return text + "}";
}

std::string ListView::Describe() const {
  return "\"" + column_header_ + "\" " + RowsControl::Describe();
}

void ListView::SetSmallIcon(int index, std::string key) {
  At(index).icon = std::move(key);
  Report(ControlChange::kContent);
}

void ListView::SetColumnHeader(std::string header) {
  column_header_ = std::move(header);
  Report(ControlChange::kContent);
}

std::string ListView::DescribeRow(int index) const {
  const std::string& icon = SmallIcon(index);
  return icon.empty() ? "" : " <" + icon + ">";
}

void TabStrip::Select(int tab) {
  if (!Has(tab)) Raise(kInvalidArgument);
  if (std::exchange(selected_, tab) == tab) return;
  Report(ControlChange::kContent);
  RaiseEvent("Click", OnClick);
}

void TabStrip::ClickTab(int tab) {
  if (!TakesInput() || !Has(tab)) return;
  if (std::exchange(selected_, tab) != tab) Report(ControlChange::kContent);
  RaiseEvent("Click", OnClick);
}

std::string TabStrip::Describe() const {
  std::string text = "{";
  for (int tab = 1; tab <= static_cast<int>(captions_.size()); ++tab) {
    if (tab > 1) text += ", ";
    text += (tab == selected_ ? ">\"" : "\"") + captions_[static_cast<std::size_t>(tab - 1)] + "\"";
  }
  return text + "}";
}

}  // namespace corvessa
