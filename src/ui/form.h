#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/pictures.h"
#include "ui/control.h"

namespace corvessa {

/// A form model: its members are its controls, its handlers its logic. Always held by shared_ptr
/// (std::make_shared). Loaded forms are also held by the list of loaded forms, so a form lives at
/// least until it is unloaded. Sizes are in pixels of a 96-dpi screen.
///
/// The close box, Hide and Unload are three things: the close box asks QueryUnload and unloads;
/// Hide only takes the form off the screen, which ends a modal ShowModal; Unload runs Unload's
/// handler and takes the form off the list.
class Form : public std::enable_shared_from_this<Form> {
 public:
  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;
  virtual ~Form() = default;

  const std::string& Name() const { return name_; }
  const std::vector<Control*>& Controls() const { return controls_; }
  /// The control of that name (and place in its array); null when the form has none.
  Control* Find(std::string_view control_name, int index = -1) const;
  /// The same for one of a kind; null for another kind.
  template <typename Kind>
  Kind* Find(std::string_view control_name) const {
    return dynamic_cast<Kind*>(Find(control_name));
  }

  /// Puts the form on the list of loaded forms and runs Form_Load, unless it is loaded.
  void Load();
  /// Loads if need be and shows without blocking; brings forward what is already visible.
  void Show();
  /// Loads if need be, shows and returns when the form has been hidden or unloaded.
  void ShowModal(Form* owner = nullptr);
  void Hide();
  /// What code does. False when the form refused (QueryUnload) and stays as it is.
  bool Unload();
  /// What the user does with the close box.
  bool PressCloseBox() { return Unload(); }
  /// The user has drawn the window to another size, given as that of its client area.
  void Resize(int width, int height);

  bool IsLoaded() const { return loaded_; }
  bool IsVisible() const { return visible_; }
  bool IsModal() const { return modal_; }
  bool IsTopmost() const { return topmost_; }
  bool ShowsInTaskbar() const { return in_taskbar_; }
  void SetTopmost(bool topmost);
  void SetShowsInTaskbar(bool shows);

  /// The control with the focus. Null until the program or the user gives it to one: the first in
  /// tab order has it then.
  Control* Focus() const { return focus_; }
  /// Also what the user does by clicking or by the Tab key. The control that had it loses it.
  void SetFocus(Control& control);

  const std::string& Caption() const { return caption_; }
  void SetWindowCaption(std::string_view caption);
  const platform::PicturePtr& Icon() const { return icon_; }
  void SetIcon(platform::PicturePtr icon);
  /// The size of the client area, like the bounds of the controls.
  int Width() const { return width_; }
  int Height() const { return height_; }
  void SetSize(int width, int height);
  /// The smallest size that the user can draw the window to, measured as the system does: with its
  /// borders and title. 0 for a window of fixed size.
  int MinimumWindowWidth() const { return minimum_window_width_; }
  int MinimumWindowHeight() const { return minimum_window_height_; }
  /// Placed outside the screen: nothing of it is seen but its entry in the task bar.
  bool IsOffScreen() const { return off_screen_; }

  /// One line for the form and one for each control: the golden text of the tests.
  std::string Dump() const;

 protected:
  /// Name, caption and design size of the client area.
  Form(std::string name, std::string caption, int width, int height);

  /// Both while the form is being built.
  void SetMinimumWindow(int width, int height);
  void PutOffScreen() { off_screen_ = true; }

  /// Once, when the form gets loaded.
  virtual void Form_Load() {}
  /// Each time the form gets shown, before it is seen.
  virtual void Form_Activate() {}
  /// Setting `cancel` refuses to close.
  virtual void Form_QueryUnload(bool& /*cancel*/) {}
  virtual void Form_Unload() {}
  virtual void Form_Resize() {}

 private:
  friend class Control;
  friend void DropLoadedForms();
  static void DropAll();
  void AddControl(Control& control) { controls_.push_back(&control); }
  void MakeVisible(bool modal);
  void SetLoaded(bool loaded);
  void Report(platform::FormChange change);

  std::string name_;
  std::string caption_;
  platform::PicturePtr icon_;
  int width_;
  int height_;
  int minimum_window_width_ = 0;
  int minimum_window_height_ = 0;
  std::vector<Control*> controls_;
  Control* focus_ = nullptr;
  bool loaded_ = false;
  bool unloading_ = false;
  bool visible_ = false;
  bool modal_ = false;
  bool topmost_ = false;
  bool in_taskbar_ = false;
  bool off_screen_ = false;
};

using FormPtr = std::shared_ptr<Form>;

/// Unloads a form when its caller is done with it, also when that is because of an error.
class UnloadAtEnd {
 public:
  explicit UnloadAtEnd(Form& form) : form_(form) {}
  ~UnloadAtEnd();
  UnloadAtEnd(const UnloadAtEnd&) = delete;
  UnloadAtEnd& operator=(const UnloadAtEnd&) = delete;

 private:
  Form& form_;
};

/// The forms that are loaded, in loading order; a copy, because handlers load and unload forms.
std::vector<FormPtr> LoadedForms();

/// Those of one class.
template <typename F>
std::vector<std::shared_ptr<F>> LoadedFormsOf() {
  std::vector<std::shared_ptr<F>> found;
  for (const FormPtr& form : LoadedForms()) {
    if (auto one = std::dynamic_pointer_cast<F>(form)) found.push_back(std::move(one));
  }
  return found;
}

/// The first loaded form of that name that is visible; null when there is none.
FormPtr FindVisibleForm(std::string_view name);

/// Hides every loaded form and takes it off the list without asking or running handlers; for the
/// end of the process.
void DropLoadedForms();

}  // namespace corvessa
