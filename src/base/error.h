#pragma once

#include <string>
#include <string_view>

namespace corvessa {

/// The one exception of the logic. A failed call into a host carries the host's own number (an
/// HRESULT for COM); the numbers that the logic itself looks at are named below.
struct Error {
  long number = 0;
  std::string description;
};

// Numbers and descriptions are the classic run-time ones that Outlook's script hosts also report,
// so that a trace reads the same whichever side an error came from.
inline constexpr long kOverflow = 6;
inline constexpr long kFileNotFound = 53;
inline constexpr long kPermissionDenied = 70;
inline constexpr long kPathFileAccess = 75;
inline constexpr long kPathNotFound = 76;
inline constexpr long kObjectNotSet = 91;
inline constexpr long kCannotCreateComponent = 429;
inline constexpr long kInvalidPicture = 481;
inline constexpr long kInvalidArgument = 5;

/// The classic description of a number; "Application-defined or object-defined error" for others.
std::string_view ErrorDescription(long number);

/// Throws Error with the number's classic description.
[[noreturn]] void Raise(long number);

/// Throws Error with a description of its own.
[[noreturn]] void Raise(long number, std::string description);

}  // namespace corvessa
