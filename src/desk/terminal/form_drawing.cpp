#include "desk/terminal/form_drawing.h"

#include <algorithm>
#include <vector>

#include "base/text.h"
#include "commands/columns.h"
#include "desk/terminal/choices.h"
#include "ui/controls.h"
#include "ui/form.h"
#include "ui/list_controls.h"

namespace corvessa::desk {
namespace {

/// Two borders, each with a blank.
constexpr int kBorderColumns = 4;
constexpr int kGapColumns = 2;

/// Draws a box around the lines, as wide as they or the title need.
Lines DrawBox(const std::string& title, const Lines& lines, int columns) {
  const std::string shown_title = CutToColumns(title, columns - kBorderColumns - 1);
  int width = shown_title.empty() ? 0 : ColumnsOf(shown_title) + 1;
  for (const std::string& line : lines) width = std::max(width, ColumnsOf(line));
  const auto rule = [](int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += "─";
    return text;
  };
  const std::string head = shown_title.empty() ? "" : "─ " + shown_title + " ";
  Lines boxed{"┌" + head + rule(width + 2 - ColumnsOf(head)) + "┐"};
  for (const std::string& line : lines) boxed.push_back("│ " + PadToColumns(line, width) + " │");
  boxed.push_back("└" + rule(width + 2) + "┘");
  return boxed;
}

bool IsTall(const Control& control) {
  if (Is<ComboBox>(control)) return false;
  const auto* box = dynamic_cast<const TextBox*>(&control);
  return Is<RowsControl, Frame, TabStrip>(control) || (box && box->IsMultiLine());
}

/// The vertical position: a tall control's top, a short one's middle, so that a label is level with
/// the box beside it.
int Level(const Control& control) {
  return control.Bounds().top + (IsTall(control) ? 0 : control.Bounds().height / 2);
}

using Band = std::vector<const Control*>;

bool AreButtons(const Band& band) {
  return std::ranges::all_of(band,
                             [](const Control* control) { return Is<CommandButton>(*control); });
}

/// The shown controls of a container, top to bottom in bands of controls side by side. Buttons one
/// below the other share a band: a terminal has fewer lines than columns to spare.
std::vector<Band> GroupIntoBands(const Form& form, const Control* container) {
  Band controls;
  for (const Control* control : form.Controls()) {
    if (control->Container() == container && control->IsShown() && IsDrawn(*control)) {
      controls.push_back(control);
    }
  }
  std::stable_sort(controls.begin(), controls.end(),
                   [](const Control* a, const Control* b) { return Level(*a) < Level(*b); });
  std::vector<Band> bands;
  for (const Control* control : controls) {
    const Control* first = bands.empty() ? nullptr : bands.back().front();
    const bool beside = first && !IsTall(*first) && !IsTall(*control) &&
                        Level(*control) < first->Bounds().top + first->Bounds().height;
    const bool joins = beside || (first && AreButtons(bands.back()) && AreButtons({control}));
    if (!joins) bands.emplace_back();
    bands.back().push_back(control);
    if (beside) {
      std::stable_sort(
          bands.back().begin(), bands.back().end(),
          [](const Control* a, const Control* b) { return a->Bounds().left < b->Bounds().left; });
    }
  }
  return bands;
}

class Drawing {
 public:
  Drawing(const Form& form, const Choices* choices) : form_(form), choices_(choices) {}

  Lines Contents(const Control* container, int columns) const {
    Lines lines;
    for (const Band& band : GroupIntoBands(form_, container)) {
      Append(lines, DrawBand(band, columns));
    }
    return lines;
  }

 private:
  static void Append(Lines& lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
  }

  /// Controls of one line side by side as far as they fit, the others below.
  Lines DrawBand(const Band& band, int columns) const {
    Lines rows;
    Lines below;
    for (const Control* control : band) {
      const Lines drawn = Draw(*control, columns);
      if (drawn.size() != 1) {
        Append(below, drawn);
      } else if (!rows.empty() &&
                 ColumnsOf(rows.back()) + kGapColumns + ColumnsOf(drawn.front()) <= columns) {
        rows.back() += std::string(kGapColumns, ' ') + drawn.front();
      } else {
        rows.push_back(drawn.front());
      }
    }
    Lines lines;
    for (const std::string& row : rows) Append(lines, WrapToColumns(row, columns));
    Append(lines, below);
    return lines;
  }

  Lines Draw(const Control& control, int columns) const {
    const auto* frame = dynamic_cast<const Frame*>(&control);
    if (!frame) return DrawControl(control, choices_, columns);
    if (frame->Caption().empty()) return Contents(frame, columns);
    return DrawBox(DrawnCaption(frame->Caption()), Contents(frame, columns - kBorderColumns),
                   columns);
  }

  const Form& form_;
  const Choices* choices_;
};

std::string Join(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

const ProgressBar* FindBar(const Form& form) {
  for (const Control* control : form.Controls()) {
    if (const auto* bar = dynamic_cast<const ProgressBar*>(control)) return bar;
  }
  return nullptr;
}

}  // namespace

std::string DrawForm(const Form& form, const Choices* choices, int columns) {
  const Drawing drawing(form, choices);
  return Join(DrawBox(ForDisplay(form.Caption()),
                      drawing.Contents(nullptr, columns - kBorderColumns), columns));
}

std::string DrawMessage(std::string_view text, std::string_view title, std::string_view symbol,
                        int columns) {
  const std::string all = std::string(symbol) + " " + ForDisplayLines(text);
  return Join(DrawBox(ForDisplay(title), WrapToColumns(all, columns - kBorderColumns), columns));
}

std::string TextOf(const Form& form) {
  std::string text;
  const auto add = [&](const std::string& line) {
    if (!line.empty()) text += (text.empty() ? "" : "\n") + line;
  };
  for (const Control* control : form.Controls()) {
    if (!control->IsShown()) continue;
    if (const auto* label = dynamic_cast<const Label*>(control)) {
      add(DrawnCaption(label->Caption(), label->UsesMnemonic()));
    } else if (const auto* rows = dynamic_cast<const RowsControl*>(control)) {
      for (int row = 0; row < rows->RowCount(); ++row) add(ForDisplay(rows->Row(row)));
    }
  }
  return text;
}

std::string StatusLine(const Form& form, int columns) {
  constexpr int kStepColumns = 48;
  constexpr int kFewestBarColumns = 10;
  const ProgressBar* bar = FindBar(form);
  // The current step; the splash screen has a caption instead.
  const auto* step = form.Find<Label>(bar ? "lblDescription" : "lblCaption");
  const std::string text = !step || step->Caption().empty() ? form.Caption() : step->Caption();
  if (!bar) return ForDisplay(text);
  const int bar_columns = std::clamp(columns - kStepColumns, kFewestBarColumns, kMostBarColumns);
  return DrawBar(*bar, bar_columns) + " " + ForDisplay(text);
}

}  // namespace corvessa::desk
