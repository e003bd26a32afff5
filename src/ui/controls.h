#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "base/secret_string.h"
#include "platform/pictures.h"
#include "ui/buttons.h"
#include "ui/control.h"
#include "ui/labels.h"

/// The controls that a form is made of. Lists and tabs are in list_controls.h.
namespace corvessa {

class TextBox final : public Control {
 public:
  enum class Kind : std::uint8_t { kLine, kPassword, kLog, kCourier };

  TextBox(Form& form, std::string name, Rect bounds, Kind kind = Kind::kLine)
      : Control(form, std::move(name), bounds), kind_(kind) {}
  std::string_view TypeName() const override { return "TextBox"; }
  bool TakesFocus() const override { return true; }
  std::string Describe() const override;
  bool IsPassword() const { return kind_ == Kind::kPassword; }
  /// Several lines, read-only to the user.
  bool IsMultiLine() const { return kind_ == Kind::kLog || kind_ == Kind::kCourier; }
  bool HasFixedPitch() const { return kind_ == Kind::kCourier; }
  /// Lives until the next change.
  std::string_view Text() const { return text_.View(); }
  /// The caret as a byte offset: at the start of a new text or of what was appended last, so that
  /// this is in view.
  std::size_t SelStart() const { return sel_start_; }
  /// Raises OnChange when the text differs. What a password box held is wiped.
  void SetText(std::string_view text);
  /// Adds to the end, without copying what is there. Raises OnChange.
  void AppendText(std::string_view text);
  /// The user's typing: the whole new text. A read-only box ignores it.
  void Type(std::string_view text);
  /// Raises OnLostFocus.
  void LoseFocus() override { RaiseEvent("LostFocus", OnLostFocus); }

  Handler OnChange;
  Handler OnLostFocus;

 private:
  Kind kind_;
  SecretString text_;
  std::size_t sel_start_ = 0;
};

class Image final : public Control {
 public:
  Image(Form& form, std::string name, Rect bounds) : Control(form, std::move(name), bounds) {}
  std::string_view TypeName() const override { return "Image"; }
  std::string Describe() const override;
  const platform::PicturePtr& Picture() const { return picture_; }
  void SetPicture(platform::PicturePtr picture);

 private:
  platform::PicturePtr picture_;
};

class ProgressBar final : public Control {
 public:
  ProgressBar(Form& form, std::string name, Rect bounds) : Control(form, std::move(name), bounds) {}
  std::string_view TypeName() const override { return "ProgressBar"; }
  std::string Describe() const override;
  std::int32_t Min() const { return min_; }
  std::int32_t Max() const { return max_; }
  std::int32_t Value() const { return value_; }
  /// Starts again: the value is the minimum.
  void SetRange(std::int32_t min, std::int32_t max);
  /// May lie beyond the maximum, which then is what a back end draws.
  void SetValue(std::int32_t value);

 private:
  std::int32_t min_ = 0;
  std::int32_t max_ = 100;
  std::int32_t value_ = 0;
};

/// Runs while its form is loaded and it is enabled. The Ui back end is told when it starts and
/// stops, and calls Tick.
class Timer final : public Control {
 public:
  Timer(Form& form, std::string name, std::int32_t interval_ms)
      : Control(form, std::move(name), {}), interval_(interval_ms) {}
  std::string_view TypeName() const override { return "Timer"; }
  /// Milliseconds, at least 1.
  std::int32_t Interval() const { return interval_; }
  bool IsRunning() const { return running_; }
  /// One interval has passed. Does nothing when it does not run or inside another tick of its own.
  void Tick();

  Handler OnTimer;

 private:
  void UpdateActivity() override;

  std::int32_t interval_;
  bool running_ = false;
  bool ticking_ = false;
};

/// The Internet transfer control: fetches pages, and is never drawn.
class Inet final : public Control {
 public:
  Inet(Form& form, std::string name) : Control(form, std::move(name), {}) {}
  std::string_view TypeName() const override { return "Inet"; }
  /// The body of a page as text. Throws Error when it could not be fetched.
  std::string OpenURL(std::string_view url) const;
};

}  // namespace corvessa
