#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "base/text.h"
#include "desk/mail/mime_reader.h"
#include "mime/mime_reader.h"

namespace {

using corvessa::platform::MimeMessage;

void Require(bool condition) {
  if (!condition) std::abort();
}

void RequireInRange(const corvessa::platform::MimeCoverage& coverage, const MimeMessage& message) {
  for (const std::size_t number : coverage) Require(number < message.signatures.size());
}

void RequireSound(const MimeMessage& message) {
  RequireInRange(message.text_signed_by, message);
  for (const auto& file : message.files) {
    Require(!file.name.empty() && !corvessa::HoldsControlCharacter(file.name));
    RequireInRange(file.signed_by, message);
    Require(!file.is_signature || !file.signed_by.empty());
  }
  for (const auto& signature : message.signatures) {
    Require(corvessa::WithCrLf(signature.content).size() >= signature.content.size());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view mail(reinterpret_cast<const char*>(data), size);
  RequireSound(corvessa::desk::mail::MimeReader().Read(mail));
  RequireSound(corvessa::mime::MimeReader().Read(mail));
  return 0;
}
