#pragma once

#include "branding/branded_form.h"

namespace corvessa {

/// A form that is seen in the task bar only. It owns a modal dialog, so that a prompt raised from
/// inside Outlook can be found there.
class frmModalShowInTaskbar final : public BrandedForm {
 public:
  frmModalShowInTaskbar();

  /// Shows the dialog modally; returns when it has been hidden or unloaded. The entry in the task
  /// bar carries the dialog's caption and goes with it.
  void ShowModalForm(Form& dialog);
};

/// The same through a helper form of its own.
void ShowModalForm(Form& dialog);

}  // namespace corvessa
