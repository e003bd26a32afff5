#include "support/form_checks.h"

#include <cstdlib>
#include <gtest/gtest.h>

#include "support/temp_folder.h"

namespace corvessa::testing {

void ExpectGolden(std::string_view name, const std::string& text) {
  const std::string path = CORVESSA_GOLDEN_FOLDER "/" + std::string(name) + ".txt";
  if (std::getenv("CORVESSA_WRITE_GOLDEN")) {
    WriteContent(path, text);
    return;
  }
  EXPECT_EQ(text, ContentOf(path)) << path;
}

void ExpectGolden(std::string_view name, const std::vector<std::string>& trace) {
  std::string text;
  for (const std::string& entry : trace) text += entry + "\n";
  ExpectGolden(name, text);
}

void ExpectGoldenForm(std::string_view name, const Form& form) {
  ExpectGolden(name, form.Dump());
}

}  // namespace corvessa::testing
