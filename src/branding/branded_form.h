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

}  // namespace corvessa
