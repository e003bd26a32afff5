#include <algorithm>
#include <array>
#include <utility>

#include "base/text.h"
#include "crypto/stored_files.h"
#include "desk/mail/header_fields.h"
#include "desk/mail/mail_io.h"

namespace corvessa::desk::mail {

namespace {

// File systems end at 255 bytes; the rest is for the suffixes that decrypting and saving add.
constexpr std::size_t kLongestName = 200;
constexpr std::size_t kLongestSuffix = 20;

constexpr std::array<std::pair<std::string_view, std::string_view>, 13> kExtensions{{
    {"text/plain", ".txt"},
    {"text/html", ".htm"},
    {"text/calendar", ".ics"},
    {"text/csv", ".csv"},
    {"image/jpeg", ".jpg"},
    {"image/png", ".png"},
    {"image/gif", ".gif"},
    {"application/pdf", ".pdf"},
    {"application/zip", ".zip"},
    {"application/pgp-signature", ".asc"},
    {"application/pgp-keys", ".asc"},
    {"message/rfc822", ".eml"},
    {"message/delivery-status", ".txt"},
}};

/// Depends on the name alone, so that a file and its signature keep matching names.
std::string CleanName(std::string_view name) {
  auto safe = ShortenedFileName(OneLine(name), kLongestName);
  if (safe.find_first_not_of(". ") == std::string::npos) std::ranges::replace(safe, '.', '_');
  return safe;
}

}  // namespace

std::string SafeFileName(std::string_view name) {
  const auto separator = name.find_last_of("/\\");
  if (separator != std::string_view::npos) name.remove_prefix(separator + 1);
  const auto line = OneLine(name);
  std::string_view signed_name = line;
  while (HasSignatureName(signed_name)) signed_name = SignedName(signed_name);
  // A signature can be signed too; the limit keeps the name short.
  if (line.size() - signed_name.size() > kLongestSuffix) return CleanName(line);
  return CleanName(signed_name) + line.substr(signed_name.size());
}

std::string GenericFileName(std::size_t place, std::string_view content_type) {
  auto digits = std::to_string(place);
  if (digits.size() < 5) digits.insert(0, 5 - digits.size(), '0');
  const auto* const known = std::ranges::find_if(
      kExtensions, [&](const auto& entry) { return entry.first == content_type; });
  return "ATT" + digits + std::string(known == kExtensions.end() ? ".dat" : known->second);
}

}  // namespace corvessa::desk::mail
