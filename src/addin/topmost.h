#pragma once

namespace corvessa {

class Form;

/// Puts a form's window above all others, or back among them, without moving or sizing it.
void SetTopmost(Form& form, bool topmost);

}  // namespace corvessa
