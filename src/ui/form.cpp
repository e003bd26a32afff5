#include "ui/form.h"

#include <algorithm>
#include <utility>

#include "base/guard.h"
#include "base/text.h"
#include "platform/host.h"
#include "platform/ui.h"

namespace corvessa {

using platform::FormChange;

namespace {

std::vector<FormPtr>& Loaded() {
  static std::vector<FormPtr> forms;
  return forms;
}

platform::Ui& Ui() {
  return platform::Host().ui;
}

}  // namespace

Control::Control(Form& form, std::string name, Rect bounds)
    : form_(form), name_(std::move(name)), bounds_(bounds) {
  form.AddControl(*this);
}

bool Control::IsShown() const {
  return visible_ && (!container_ || container_->IsShown());
}

bool Control::IsUsable() const {
  return enabled_ && (!container_ || container_->IsUsable());
}

bool Control::IsInside(const Control& frame) const {
  return container_ && (container_ == &frame || container_->IsInside(frame));
}

void Control::SetVisible(bool visible) {
  if (std::exchange(visible_, visible) != visible) ReportState();
}

void Control::SetEnabled(bool enabled) {
  if (std::exchange(enabled_, enabled) == enabled) return;
  UpdateActivity();
  ReportState();
}

void Control::SetBounds(const Rect& bounds) {
  if (std::exchange(bounds_, bounds) != bounds) Report(platform::ControlChange::kBounds);
}

void Control::Report(platform::ControlChange change) {
  if (form_.IsLoaded()) Ui().ControlChanged(form_, *this, change);
}

void Control::ReportState() {
  Report(platform::ControlChange::kState);
  for (Control* other : form_.Controls()) {
    if (other->IsInside(*this)) other->Report(platform::ControlChange::kState);
  }
}

void Control::RaiseEvent(std::string_view event, const Handler& handler) {
  if (!handler) return;
  const std::shared_ptr<Form> held = form_.shared_from_this();
  const std::string prefix = held->Name() + "::" + name_ + "_" + std::string(event) + " - ";
  // A copy: the handler may replace itself or end its form while it runs.
  const Handler running = handler;
  Guarded(prefix, [&] { running(); });
}

std::string Control::Dump() const {
  std::string text = std::string(TypeName()) + " " + name_;
  if (index_ >= 0) text += "(" + Decimal(index_) + ")";
  text += " [" + Decimal(bounds_.left) + " " + Decimal(bounds_.top) + " " + Decimal(bounds_.width) +
          " " + Decimal(bounds_.height) + "]";
  const std::string described = Describe();
  if (!described.empty()) text += " " + described;
  if (!IsShown()) text += " hidden";
  if (!IsUsable()) text += " disabled";
  return text;
}

Form::Form(std::string name, std::string caption, int width, int height)
    : name_(std::move(name)), caption_(std::move(caption)), width_(width), height_(height) {}

void Form::Report(platform::FormChange change) {
  if (loaded_) Ui().FormChanged(*this, change);
}

Control* Form::Find(std::string_view control_name, int index) const {
  const auto found = std::ranges::find_if(controls_, [&](const Control* control) {
    return control->Name() == control_name && control->Index() == index;
  });
  return found == controls_.end() ? nullptr : *found;
}

/// Enters the form into the list or takes it off, starts or stops its timers, tells the back end.
void Form::SetLoaded(bool loaded) {
  if (loaded_ == loaded) return;
  const FormPtr held = shared_from_this();
  platform::Ui& ui = Ui();
  loaded_ = loaded;
  if (loaded) {
    Loaded().push_back(held);
    ui.FormLoaded(*this);
  }
  for (Control* control : controls_) control->UpdateActivity();
  if (loaded) return;
  std::erase(Loaded(), held);
  if (std::exchange(visible_, false)) ui.FormHidden(*this);
  ui.FormUnloaded(*this);
}

void Form::Load() {
  if (loaded_) return;
  SetLoaded(true);
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
  // However the loop ends, the form is not modal after it; a form that could not be shown is
  // unloaded.
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
  Ui().FormHidden(*this);
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
  SetLoaded(false);
  return true;
}

void Form::SetSize(int width, int height) {
  width_ = width;
  height_ = height;
  Report(FormChange::kSize);
}

void Form::Resize(int width, int height) {
  SetSize(width, height);
  Guarded(name_ + "::Form_Resize - ", [&] { Form_Resize(); });
}

void Form::SetMinimumWindow(int width, int height) {
  minimum_window_width_ = width;
  minimum_window_height_ = height;
}

void Form::SetWindowCaption(std::string_view caption) {
  caption_ = caption;
  Report(FormChange::kCaption);
}

void Form::SetIcon(platform::PicturePtr icon) {
  icon_ = std::move(icon);
  Report(FormChange::kIcon);
}

void Form::SetTopmost(bool topmost) {
  if (std::exchange(topmost_, topmost) != topmost) Report(FormChange::kTopmost);
}

void Form::SetShowsInTaskbar(bool shows) {
  if (std::exchange(in_taskbar_, shows) != shows) Report(FormChange::kTaskbarEntry);
}

void Form::SetFocus(Control& control) {
  Control* const last = std::exchange(focus_, &control);
  if (last == &control) return;
  Report(FormChange::kFocus);
  if (last) last->LoseFocus();
}

std::string Form::Dump() const {
  std::string text = name_ + " \"" + caption_ + "\" " + Decimal(width_) + "x" + Decimal(height_);
  if (topmost_) text += " topmost";
  if (in_taskbar_) text += " taskbar";
  if (off_screen_) text += " offscreen";
  text += "\n";
  for (const Control* control : controls_) {
    text += "  " + control->Dump() + (control == focus_ ? " focus\n" : "\n");
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
  for (const FormPtr& form : LoadedForms()) {
    Ignoring([&] { form->SetLoaded(false); });
  }
}

UnloadAtEnd::~UnloadAtEnd() {
  Ignoring([&] { form_.Unload(); });
}

}  // namespace corvessa
