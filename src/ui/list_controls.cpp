#include "ui/list_controls.h"

#include "base/error.h"
#include "base/text.h"

namespace corvessa {

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
}

void RowsControl::RemoveRow(int index) {
  At(index);
  rows_.erase(rows_.begin() + index);
  if (selected_ > index || selected_ >= RowCount()) --selected_;
}

void RowsControl::ClearRows() {
  rows_.clear();
  selected_ = -1;
}

std::string RowsControl::SelectedText() const {
  return selected_ < 0 ? "" : Row(selected_);
}

void RowsControl::Select(int index) {
  selected_ = index >= 0 && index < RowCount() ? index : -1;
  Control::RaiseEvent("Click", OnClick);
}

void RowsControl::ClickRow(int index) {
  if (IsShown() && IsUsable() && index >= 0 && index < RowCount()) Select(index);
}

std::string RowsControl::Describe() const {
  std::string text = "{";
  for (int i = 0; i < RowCount(); ++i) {
    if (i > 0) text += ", ";
    text += (i == selected_ ? ">\"" : "\"") + Row(i) + "\"" + DescribeRow(i);
  }
  return text + "}";
}

std::string ListBox::DescribeRow(int index) const {
  if (!has_check_boxes_) return {};
  return RowChecked(index) ? " [x]" : " [ ]";
}

std::string ImageList::Describe() const {
  std::string text = "{";
  for (const std::string& key : Keys) text += (text.size() > 1 ? ", \"" : "\"") + key + "\"";
  return text + "}";
}

std::string ListView::Describe() const {
  return "\"" + ColumnHeader + "\" " + RowsControl::Describe();
}

std::string ListView::DescribeRow(int index) const {
  const std::string& icon = SmallIcon(index);
  return icon.empty() ? "" : " <" + icon + ">";
}

void TabStrip::Select(int tab) {
  if (tab < 1 || tab > static_cast<int>(captions_.size())) Raise(kInvalidArgument);
  if (selected_ == tab) return;
  selected_ = tab;
  Control::RaiseEvent("Click", OnClick);
}

void TabStrip::ClickTab(int tab) {
  if (!IsShown() || !IsUsable() || tab < 1 || tab > static_cast<int>(captions_.size())) return;
  selected_ = tab;
  Control::RaiseEvent("Click", OnClick);
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
