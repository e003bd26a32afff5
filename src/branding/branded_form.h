#pragma once

#include "branding/customization.h"
#include "ui/form.h"

namespace corvessa {

/// A form that a person sees: it gets the brand's names, icon and pictures when it is loaded.
class BrandedForm : public Form {
 protected:
  using Form::Form;

  /// Overriding ones call it first.
  void Form_Load() override { Customization::CustomizeForm(*this); }
};

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
