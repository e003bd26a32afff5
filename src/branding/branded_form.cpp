#include "branding/branded_form.h"

#include <memory>

namespace corvessa {

frmModalShowInTaskbar::frmModalShowInTaskbar() : BrandedForm("frmModalShowInTaskbar", "", 0, 0) {
  PutOffScreen();
  SetShowsInTaskbar(true);
}

void frmModalShowInTaskbar::ShowModalForm(Form& dialog) {
  const FormPtr held = dialog.shared_from_this();
  const UnloadAtEnd unload(*this);
  // Loading brands the caption, which the entry in the task bar is to show from the start.
  dialog.Load();
  SetWindowCaption(dialog.Caption());
  Show();
  dialog.ShowModal(this);
}

void ShowModalForm(Form& dialog) {
  std::make_shared<frmModalShowInTaskbar>()->ShowModalForm(dialog);
}

}  // namespace corvessa
