#include "crypto/engine_answers.h"

#include <array>
#include <cstddef>

#include "base/checked.h"

namespace corvessa {

std::string TextAt(const platform::IEngineStringVector& texts, std::int32_t index) {
  return texts.Item(CheckedNarrow<std::int16_t>(index));
}

std::vector<std::string> TextsOf(const platform::IEngineStringVector& texts) {
  std::vector<std::string> copied;
  copied.reserve(static_cast<std::size_t>(texts.Size()));
  for (std::int32_t i = 0; i < texts.Size(); ++i) copied.push_back(TextAt(texts, i));
  return copied;
}

std::string_view EngineErrorText(std::int32_t code) {
  // By the code without its sign, 0 to -13.
  static constexpr std::array<std::string_view, 14> kTexts = {
      "Failed to verify.",
      "Failed to initialise Key Management Services. Please check your connection.",
      "Failed to get cetificate.",
      "Error encountered in content.",
      "Failure while retrieving PGP Key.",
      "No such algorithm supported.",
      "Invalid key returned.",
      "Error encountered with key store.",
      "IO Exception encountered.",
      "Bad data format encountered.",
      "Unexpected error with signature.",
      "Unexpected error encountered.",
      "No aliases available to perform operation.",
      "No matching key pair avaliable.",
  };
  if (code > 0 || code < platform::engine_status::kNoKey) return "Unknown error encountered.";
  return kTexts[static_cast<std::size_t>(-code)];
}

}  // namespace corvessa
