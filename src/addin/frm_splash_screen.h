#pragma once

#include <string_view>

#include "forms/controls.h"
#include "forms/form.h"

namespace corvessa {

/// Shown while start-up blocks the thread. Its labels are painted at once when they change.
class frmSplashScreen final : public Form {
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
