#pragma once

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "gallery/form_table.h"
#include "gallery/forms_host.h"
#include "windows/support/form_windows.h"

namespace corvessa::testing {

/// The add-in's forms as windows, under its own brand.
class FormsTest : public ::testing::Test {
 protected:
  FormsTest() { gallery::SetBrand("Corvessa", "Corvessa Professional for Outlook"); }
  ~FormsTest() override { DropLoadedForms(); }

  /// The form of a picture, loaded.
  template <typename FormType = Form>
  static std::shared_ptr<FormType> Make(const std::string& picture) {
    const auto& table = gallery::FormTable();
    const auto found = std::ranges::find(table, picture, &gallery::FormCase::picture);
    return std::dynamic_pointer_cast<FormType>(found->make());
  }
  /// Shows it; gives its window.
  static HWND Show(Form& form) {
    form.Show();
    return FindForm(GetCurrentThreadId(), form.Name());
  }

  gallery::FormsHost host;
};

}  // namespace corvessa::testing
