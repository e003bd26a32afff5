#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "ui/control.h"

/// What only tells something, and what all controls with a caption have in common.
namespace corvessa {

/// A control that shows a caption. "&" marks the access key, "&&" stands for one "&".
class CaptionedControl : public Control {
 public:
  const std::string& Caption() const { return caption_; }
  void SetCaption(std::string_view caption);
  std::string Describe() const override;

  /// After every change of the caption.
  Handler OnChange;

 protected:
  CaptionedControl(Form& form, std::string name, Rect bounds, std::string caption)
      : Control(form, std::move(name), bounds), caption_(std::move(caption)) {}

 private:
  std::string caption_;
};

/// The access key of a caption in lower case; empty for none.
std::string AccessKeyIn(std::string_view caption);
/// The caption as it is read: "&" is left out, "&&" is one "&".
std::string WithoutAccessKey(std::string_view caption);

class Label final : public CaptionedControl {
 public:
  Label(Form& form, std::string name, Rect bounds, std::string caption = {})
      : CaptionedControl(form, std::move(name), bounds, std::move(caption)) {}
  std::string_view TypeName() const override { return "Label"; }
  /// False for a label that shows text from outside, in which "&" stands for itself.
  bool UsesMnemonic() const { return uses_mnemonic_; }
  void SetUseMnemonic(bool uses);
  /// The whole of a text that the caption shows shortened; empty otherwise.
  const std::string& WholeText() const { return whole_text_; }
  /// The text, shortened by FittedText if it is wider than the label.
  void SetFittedCaption(std::string_view text);

 private:
  bool uses_mnemonic_ = true;
  std::string whole_text_;
};

class Frame final : public CaptionedControl {
 public:
  Frame(Form& form, std::string name, Rect bounds, std::string caption = {})
      : CaptionedControl(form, std::move(name), bounds, std::move(caption)) {}
  std::string_view TypeName() const override { return "Frame"; }
  /// False for one that only holds its controls together, such as a page of a tab strip.
  bool HasBorder() const { return has_border_; }
  /// To be called while the form is being built.
  void SetBorder(bool has_border) { has_border_ = has_border; }
  /// Puts the controls into the frame; to be called while the form is being built.
  void Hold(std::initializer_list<Control*> controls) {
    for (Control* control : controls) control->PutInto(*this);
  }

 private:
  bool has_border_ = true;
};

}  // namespace corvessa
