#include "support/form_checks.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

#include "base/text.h"
#include "support/temp_folder.h"
#include "ui/controls.h"
#include "ui/text_layout.h"

namespace corvessa::testing {
namespace {

bool Contains(const Rect& outer, const Rect& inner) {
  return inner.left >= outer.left && inner.top >= outer.top &&
         inner.left + inner.width <= outer.left + outer.width &&
         inner.top + inner.height <= outer.top + outer.height;
}

bool Overlap(const Rect& a, const Rect& b) {
  return a.left < b.left + b.width && b.left < a.left + a.width && a.top < b.top + b.height &&
         b.top < a.top + a.height;
}

bool IsDrawn(const Control& control) {
  return control.IsShown() && control.Bounds().width > 0;
}

/// What a control needs beside its caption.
int MarginOf(std::string_view type) {
  if (type == "CommandButton") return 10;
  return type == "CheckBox" || type == "OptionButton" ? 18 : 0;
}

void ExpectCaptionFits(const Control& control) {
  const auto* captioned = dynamic_cast<const CaptionedControl*>(&control);
  if (!captioned || captioned->Caption().empty()) return;
  const int width = control.Bounds().width - MarginOf(control.TypeName());
  const int lines = WrappedLineCount(Replace(captioned->Caption(), "&", ""), width);
  const int height = control.TypeName() == "Frame" ? kTextLineHeight : control.Bounds().height;
  EXPECT_LE(lines * kTextLineHeight, height) << control.Name() << ": " << captioned->Caption();
}

void ExpectTidyLayout(const Form& form) {
  std::vector<const Control*> drawn;
  for (const Control* control : form.Controls()) {
    if (!IsDrawn(*control)) continue;
    const Control* frame = control->Container();
    const Rect outer = frame ? frame->Bounds() : Rect{0, 0, form.Width(), form.Height()};
    EXPECT_TRUE(Contains(outer, control->Bounds())) << control->Name() << " sticks out";
    ExpectCaptionFits(*control);
    for (const Control* other : drawn) {
      const bool encloses = Contains(other->Bounds(), control->Bounds());
      EXPECT_TRUE(encloses || !Overlap(other->Bounds(), control->Bounds()))
          << control->Name() << " lies across " << other->Name();
    }
    drawn.push_back(control);
  }
}

}  // namespace

void ExpectGolden(std::string_view name, const std::string& text) {
  const std::string path = CORVESSA_GOLDEN_FOLDER "/" + std::string(name) + ".txt";
  if (std::getenv("CORVESSA_WRITE_GOLDEN")) {
    WriteContent(path, text);
    return;
  }
  EXPECT_EQ(text, ContentOf(path)) << path;
}

void ExpectGolden(std::string_view name, const std::vector<std::string>& trace) {
  std::string text;
  for (const std::string& entry : trace) text += entry + "\n";
  ExpectGolden(name, text);
}

void ExpectGoldenForm(std::string_view name, const Form& form) {
  SCOPED_TRACE(name);
  ExpectTidyLayout(form);
  ExpectGolden(name, form.Dump());
}

}  // namespace corvessa::testing
