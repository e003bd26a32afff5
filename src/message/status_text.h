#pragma once

#include <cstdint>
#include <string>

namespace corvessa {

/// What a decrypt status says of a message or an attachment, to stand after its name: "is
/// encrypted", "is not encrypted", "failed decryption ( 3)".
std::string DecryptStatusText(std::int32_t status);

/// The same for a sign status; `swapped` exchanges the texts of good and bad, for a caller whose
/// statuses are the engine's own.
std::string SignStatusText(std::int32_t status, bool swapped);

/// The text of a sign status and, for a good signature, " by " and the signers, fit to be shown.
std::string SignStatusTextWithSigners(std::int32_t status, const std::string& signers);

/// Office's built-in button faces of a thing that is so and of one that is not.
inline constexpr std::int32_t kFaceOn = 1087;
inline constexpr std::int32_t kFaceOff = 1088;

/// The face of a status: on for 0 only.
std::int32_t StatusFace(std::int32_t status);

}  // namespace corvessa
