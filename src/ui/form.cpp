#include "ui/form.h"

#include <algorithm>
#include <utility>

#include "base/guard.h"
#include "base/text.h"
#include "platform/host.h"
#include "platform/ui.h"

namespace corvessa {
namespace {

std::vector<FormPtr>& Loaded() {
  static std::vector<FormPtr> forms;
  return forms;
}

platform::Ui& Ui() {
  return platform::Host().ui;
}

}  // namespace

Form::Form(std::string name, std::string caption, int width, int height)
    : Caption(std::move(caption)), Width(width), Height(height), name_(std::move(name)) {}

Control* Form::Find(std::string_view control_name, int index) const {
  const auto found = std::ranges::find_if(controls_, [&](const Control* control) {
    return control->Name() == control_name && control->Index() == index;
  });
  return found == controls_.end() ? nullptr : *found;
}

void Form::Load() {
  if (loaded_) return;
  loaded_ = true;
  Loaded().push_back(shared_from_this());
  Guarded(name_ + "::Form_Load - ", [&] { Form_Load(); });
}

void Form::MakeVisible(bool modal) {
  Load();
  // Loading may have ended the form again.
  if (!loaded_) return;
  visible_ = true;
  modal_ = modal;
  Guarded(name_ + "::Form_Activate - ", [&] { Form_Activate(); });
}

void Form::Show() {
  const FormPtr held = shared_from_this();
  MakeVisible(false);
  if (visible_) Ui().ShowForm(*this);
}

void Form::ShowModal(Form* owner) {
  const FormPtr held = shared_from_this();
  MakeVisible(true);
  // Whatever ends the loop, the form is not modal after it; one that nobody could be shown is gone.
  const Error error = Attempt([&] {
    if (visible_) Ui().RunModal(*this, owner);
  });
  modal_ = false;
  if (error.number == 0) return;
  Ignoring([&] { Hide(); });
  throw error;
}

void Form::Hide() {
  if (!visible_) return;
  visible_ = false;
  Ui().FormGone(*this);
}

bool Form::Unload() {
  if (!loaded_ || unloading_) return true;
  const FormPtr held = shared_from_this();
  bool cancel = false;
  Guarded(name_ + "::Form_QueryUnload - ", [&] { Form_QueryUnload(cancel); });
  if (cancel) return false;
  // The query may pump and come back with the form gone already.
  if (!loaded_) return true;
  unloading_ = true;
  Guarded(name_ + "::Form_Unload - ", [&] { Form_Unload(); });
  unloading_ = false;
  loaded_ = false;
  const bool was_visible = std::exchange(visible_, false);
  std::erase(Loaded(), held);
  if (was_visible) Ui().FormGone(*this);
  return true;
}

void Form::Resize(int width, int height) {
  Width = std::max(width, MinimumWidth);
  Height = std::max(height, MinimumHeight);
  Guarded(name_ + "::Form_Resize - ", [&] { Form_Resize(); });
}

void Form::SetTopmost(bool topmost) {
  topmost_ = topmost;
  if (visible_) Ui().WindowStyleChanged(*this);
}

void Form::SetShowsInTaskbar(bool shows) {
  in_taskbar_ = shows;
  if (visible_) Ui().WindowStyleChanged(*this);
}

std::string Form::Dump() const {
  std::string text = name_ + " \"" + Caption + "\" " + Decimal(Width) + "x" + Decimal(Height);
  if (topmost_) text += " topmost";
  if (in_taskbar_) text += " taskbar";
  if (OffScreen) text += " offscreen";
  text += "\n";
  for (const Control* control : controls_) {
    text += "  " + std::string(control->TypeName()) + " " + control->Name();
    if (control->Index() >= 0) text += "(" + Decimal(control->Index()) + ")";
    const Rect& at = control->Bounds;
    text += " [" + Decimal(at.left) + " " + Decimal(at.top) + " " + Decimal(at.width) + " " +
            Decimal(at.height) + "]";
    const std::string described = control->Describe();
    if (!described.empty()) text += " " + described;
    if (!control->IsShown()) text += " hidden";
    if (!control->IsUsable()) text += " disabled";
    if (control == focus_) text += " focus";
    text += "\n";
  }
  return text;
}

std::vector<FormPtr> LoadedForms() {
  return Loaded();
}

FormPtr FindVisibleForm(std::string_view name) {
  for (const FormPtr& form : Loaded()) {
    if (form->Name() == name && form->IsVisible()) return form;
  }
  return nullptr;
}

void DropLoadedForms() {
  Form::DropAll();
}

void Form::DropAll() {
  const std::vector<FormPtr> dropped = std::exchange(Loaded(), {});
  for (const FormPtr& form : dropped) {
    form->loaded_ = false;
    Ignoring([&] { form->Hide(); });
  }
}

}  // namespace corvessa
