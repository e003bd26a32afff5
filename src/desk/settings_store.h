#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "desk/profile/registry_file.h"

namespace corvessa::desk {

/// The desk's own setting: the program that takes sent mail, with its arguments, separated by
/// blanks. It is called as "sendmail" is, see DeliverMail.
inline constexpr std::string_view kDeliveryCommand = "DeliveryCommand";

/// Reads and changes the add-in's registry values without the add-in. Every change is
/// on disk when its call returns. Throws CommandError for wrong use and Error if the registry
/// cannot be written.
class SettingsStore {
 public:
  explicit SettingsStore(RegistryFile& registry) : registry_(registry) {}

  /// The names of all values, preferences first.
  static std::vector<std::string_view> Names();
  /// Switches as "1" or "0", numbers in decimal. A missing value is what the add-in reads: 0 or
  /// empty.
  std::string Get(std::string_view name) const;
  /// Switches take 1, 0, true, false, on, off, yes, no.
  void Set(std::string_view name, std::string_view value);

 private:
  RegistryFile& registry_;
};

}  // namespace corvessa::desk
