#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ui/form.h"

namespace corvessa::testing {

/// Compares a text with tests/golden/<name>.txt. With CORVESSA_WRITE_GOLDEN in the environment the
/// file is written instead, to be read over before it is committed.
void ExpectGolden(std::string_view name, const std::string& text);
/// The same of a trace, an entry a line.
void ExpectGolden(std::string_view name, const std::vector<std::string>& trace);

/// The same of a form's dump.
void ExpectGoldenForm(std::string_view name, const Form& form);

}  // namespace corvessa::testing
