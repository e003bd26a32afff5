#include <algorithm>

#include "base/text.h"
#include "commands/columns.h"
#include "desk/terminal/choices.h"
#include "desk/terminal/form_drawing.h"
#include "ui/controls.h"
#include "ui/list_controls.h"

namespace corvessa::desk {
namespace {

/// Limits for long lists and texts, which would push everything else off the screen.
constexpr int kMostRows = 30;
constexpr std::size_t kMostTextLines = 200;
constexpr std::size_t kMostTextBytes = std::size_t{64} * 1024;

/// Puts the key before a control that can be chosen, and a disabled one in parentheses.
std::string WithKey(const std::string& drawn, const Control& control, const Choices* choices,
                    int place = -1) {
  if (!control.IsUsable()) return "(" + drawn + ")";
  const std::string key = choices ? choices->KeyOf(control, place) : "";
  return key.empty() ? drawn : key + ") " + drawn;
}

std::string Text(const CaptionedControl& control) {
  return Replace(DrawnCaption(control.Caption()), "\n", " ");
}

/// A row with its selection mark, check box and icon.
std::string DrawRow(const RowsControl& rows, int row) {
  std::string drawn = row == rows.Selected() ? "> " : "  ";
  const auto* list = dynamic_cast<const ListBox*>(&rows);
  if (list && list->HasCheckBoxes()) drawn += list->RowChecked(row) ? "[x] " : "[ ] ";
  drawn += ForDisplay(rows.Row(row));
  const auto* view = dynamic_cast<const ListView*>(&rows);
  const std::string icon = view ? ForDisplay(view->SmallIcon(row)) : "";
  return icon.empty() ? drawn : drawn + " <" + icon + ">";
}

Lines DrawRows(const RowsControl& rows, const Choices* choices, int columns) {
  Lines lines;
  const auto* view = dynamic_cast<const ListView*>(&rows);
  if (view && !view->ColumnHeader().empty()) {
    lines.push_back(ForDisplay(view->ColumnHeader()) + ":");
  }
  if (rows.RowCount() == 0) lines.emplace_back("  (none)");
  const int first =
      std::clamp(rows.Selected() - kMostRows / 2, 0, std::max(0, rows.RowCount() - kMostRows));
  const int end = std::min(rows.RowCount(), first + kMostRows);
  if (first > 0) lines.push_back("  … " + Decimal(first) + " more before");
  for (int row = first; row < end; ++row) {
    lines.push_back(WithKey(DrawRow(rows, row), rows, choices, row));
  }
  if (end < rows.RowCount()) lines.push_back("  … " + Decimal(rows.RowCount() - end) + " more");
  for (std::string& line : lines) line = CutToColumns(line, columns);
  return lines;
}

Lines DrawTextBox(const TextBox& box, const Choices* choices, int columns) {
  constexpr int kPixelsPerColumn = 6;
  constexpr int kFewestColumns = 8;
  constexpr int kMostColumns = 40;
  if (box.IsMultiLine()) {
    Lines lines = WrapToColumns(ForDisplayLines(box.Text().substr(0, kMostTextBytes)), columns);
    const bool is_cut = lines.size() > kMostTextLines || box.Text().size() > kMostTextBytes;
    lines.resize(std::min(lines.size(), kMostTextLines));
    if (is_cut) lines.emplace_back("… and more");
    return lines;
  }
  // Fixed number of stars, so that the length is not revealed.
  const std::string text = !box.IsPassword()    ? ForDisplay(box.Text())
                           : box.Text().empty() ? ""
                                                : "********";
  const int room = columns - ColumnsOf(WithKey("[]", box, choices));
  const int width = std::min(
      room, std::clamp(box.Bounds().width / kPixelsPerColumn, kFewestColumns, kMostColumns));
  std::string field = CutToColumns(text, std::min(room, std::max(width, columns / 2)));
  for (int i = ColumnsOf(field); i < width; ++i) field += '_';
  return {WithKey("[" + field + "]", box, choices)};
}

std::string DrawTabs(const TabStrip& tabs, const Choices* choices) {
  std::string line;
  for (int tab = 1; tab <= static_cast<int>(tabs.Captions().size()); ++tab) {
    const std::string caption = DrawnCaption(tabs.Captions()[static_cast<std::size_t>(tab - 1)]);
    const std::string drawn = tab == tabs.Selected() ? "[" + caption + "]" : caption;
    line += (line.empty() ? "" : "  ") + WithKey(drawn, tabs, choices, tab);
  }
  return line;
}

}  // namespace

bool IsDrawn(const Control& control) {
  if (const auto* label = dynamic_cast<const Label*>(&control)) return !label->Caption().empty();
  return Is<CaptionedControl, RowsControl, TextBox, TabStrip, ProgressBar>(control);
}

Lines DrawControl(const Control& control, const Choices* choices, int columns) {
  if (const auto* label = dynamic_cast<const Label*>(&control)) {
    return WrapToColumns(DrawnCaption(label->Caption(), label->UsesMnemonic()), columns);
  }
  if (const auto* button = dynamic_cast<const CommandButton*>(&control)) {
    return {WithKey("<" + Text(*button) + ">", control, choices)};
  }
  if (const auto* check = dynamic_cast<const CheckBox*>(&control)) {
    return {WithKey((check->Checked() ? "[x] " : "[ ] ") + Text(*check), control, choices)};
  }
  if (const auto* option = dynamic_cast<const OptionButton*>(&control)) {
    return {WithKey((option->Selected() ? "(o) " : "( ) ") + Text(*option), control, choices)};
  }
  if (const auto* box = dynamic_cast<const TextBox*>(&control)) {
    return DrawTextBox(*box, choices, columns);
  }
  if (const auto* rows = dynamic_cast<const RowsControl*>(&control)) {
    Lines lines = DrawRows(*rows, choices, columns);
    const auto* users = dynamic_cast<const ComboBox*>(rows);
    if (users && !users->Hint().empty()) lines.push_back(ForDisplay(users->Hint()));
    return lines;
  }
  if (const auto* tabs = dynamic_cast<const TabStrip*>(&control)) return {DrawTabs(*tabs, choices)};
  if (const auto* bar = dynamic_cast<const ProgressBar*>(&control)) {
    return {DrawBar(*bar, std::min(columns, kMostBarColumns))};
  }
  return {};
}

std::string DrawBar(const ProgressBar& bar, int columns) {
  const std::int64_t room = columns - 2;
  const std::int64_t range = std::max<std::int64_t>(1, std::int64_t{bar.Max()} - bar.Min());
  const std::int64_t done =
      std::clamp<std::int64_t>(std::int64_t{bar.Value()} - bar.Min(), 0, range);
  const auto filled = static_cast<std::size_t>(done * room / range);
  return "[" + std::string(filled, '#') +
         std::string(static_cast<std::size_t>(room) - filled, '-') + "]";
}

}  // namespace corvessa::desk
