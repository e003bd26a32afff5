#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "branding/branded_form.h"
#include "platform/outlook.h"
#include "ui/controls.h"

namespace corvessa {

/// Shown while a message is decrypted and verified. The user cannot close it before the work is
/// finished. Nothing here throws.
class frmProgress final : public BrandedForm {
 public:
  frmProgress();

  /// Shows the window for a message. A step count below 1 means one fitting the message.
  void Init(const platform::MailItemPtr& item, std::int32_t steps);
  void Finish();
  /// Records one step, and moves the bar on by it and the extra steps. Does nothing while there is
  /// no message. Lets pending events run.
  void SetCaption(std::string_view text, std::int32_t extra_steps = 0);

  Label lblTitle{*this,
                 "lblTitle",
                 {7, 62, 386, 26},
                 "Please wait while <!-- SHORTNAME --> decrypts this message and/or verifies its "
                 "digital signatures."};
  Label lblDescription{*this, "lblDescription", {7, 95, 386, 13}, "Step 0/0"};
  ProgressBar pgbProgress{*this, "pgbProgress", {7, 115, 386, 16}};
  TextBox Text1{*this, "Text1", {7, 138, 386, 104}, TextBox::Kind::kLog};
  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 386, 48}};

 private:
  void Form_QueryUnload(bool& cancel) override { cancel = !finished_; }
  void Form_Unload() override { active_ = false; }

  bool active_ = false;
  bool finished_ = false;
};

/// The progress window that is loaded, or a fresh one.
std::shared_ptr<frmProgress> ProgressWindow();

/// Records one of several like steps: "Storing attachments (2 of 5)".
void ShowCountedStep(std::string_view step, std::int64_t counter, std::size_t count);

}  // namespace corvessa
