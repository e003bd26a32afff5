#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ui/form.h"

namespace corvessa::gallery {

/// A form in a state that users see it in.
struct FormCase {
  /// Of its picture.
  std::string picture;
  /// What it is for and when it appears, in a sentence.
  std::string purpose;
  /// Gives the form loaded but not shown yet.
  std::function<FormPtr()> make;
};

/// Every form of the add-in that is ever seen. The names of the brand must be in the registry.
const std::vector<FormCase>& FormTable();

/// Writes the names of the brand and the addresses of its pages into the registry.
void SetBrand(const std::string& short_name, const std::string& long_name);

}  // namespace corvessa::gallery
