#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace corvessa {

/// Fetches the description of the newest version and shows a notice when it is newer than this one:
/// once a version, or always when the user asked. Needs no loaded dialog, because loading the
/// settings dialog saves the settings. Never throws; a page that cannot be fetched counts as
/// version 0.0.0.
void CheckForProductUpdates(bool asked_by_user);

/// What the update page says; missing fields are 0 and "".
struct ProductUpdate {
  std::int32_t major = 0;
  std::int32_t minor = 0;
  std::int32_t revision = 0;
  std::string message;
  /// The page to open for more information.
  std::string info_url;
};

ProductUpdate ParseProductUpdate(std::string_view page);

}  // namespace corvessa
