#pragma once

#include <cstdint>

#include "platform/outlook.h"

namespace corvessa {

/// Codes of encryption that are not the engine's.
inline constexpr std::int32_t kUnresolvedRecipients = -14;
inline constexpr std::int32_t kEncryptionCancelled = 1000;

/// Tells the user why encryption failed and asks whether to send in clear. Only kResultYes is a
/// consent; kResultOk means that there was nothing to report.
std::int32_t ReportEncryptionFailure(std::int32_t code, const platform::MailItemPtr& item);

}  // namespace corvessa
