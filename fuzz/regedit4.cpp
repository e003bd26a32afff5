#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "base/error.h"
#include "desk/profile/registry_tree.h"

namespace {

using corvessa::desk::FormatRegedit4;
using corvessa::desk::ParseRegedit4;

/// Empty when the text was refused.
std::string Rewritten(std::string_view text) {
  try {
    return FormatRegedit4(*ParseRegedit4(text));
  } catch (const corvessa::Error& error) {
    if (!error.description.starts_with("line ")) std::abort();
    return {};
  }
}

}  // namespace

/// What was read once must be written so that it reads the same for ever.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string once = Rewritten({reinterpret_cast<const char*>(data), size});
  if (!once.empty() && Rewritten(once) != once) std::abort();
  return 0;
}
