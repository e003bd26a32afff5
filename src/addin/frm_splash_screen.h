#pragma once

#include <string_view>

#include "branding/branded_form.h"
#include "ui/controls.h"

namespace corvessa {

/// Shown while start-up blocks the thread. Its labels are painted at once when they change.
class frmSplashScreen final : public BrandedForm {
 public:
  frmSplashScreen();
  void SetCaption(std::string_view text);

  Image imgSplashImage;
  Label lblAppInfo;
  Label lblCaption;

 private:
  void Form_Load() override;
};

}  // namespace corvessa
