#pragma once

#include <cstdint>

#include "platform/outlook.h"

namespace corvessa {

/// Codes of encryption that are not the engine's.
inline constexpr std::int32_t kUnresolvedRecipients = -14;
inline constexpr std::int32_t kEncryptionCancelled = 1000;
/// Answers of ReportEncryptionFailure and of the prompts behind it.
inline constexpr std::int32_t kSendInClear = 6;
inline constexpr std::int32_t kDoNotSend = 7;

/// Tells the user why encryption failed and asks whether to send in clear. Only kSendInClear is a
/// consent; 1 means that there was nothing to report.
std::int32_t ReportEncryptionFailure(std::int32_t code, const platform::MailItemPtr& item);

}  // namespace corvessa
