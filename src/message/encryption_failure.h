#pragma once

#include <cstdint>
#include <string_view>

#include "message/item_access.h"

namespace corvessa {

/// What the user learns when a message cannot be sent as it was asked for. There are two cases: the
/// user decides, by an answer to a question, or the add-in keeps the message because nobody could
/// decide safely.

/// Codes of encryption that are not the engine's.
inline constexpr std::int32_t kUnresolvedRecipients = -14;
inline constexpr std::int32_t kEncryptionCancelled = 1000;

/// Tells the user why encryption failed and asks whether to send in clear. Only kResultYes is a
/// consent; kResultOk means that there was nothing to report. If the question cannot be put, the
/// user is told so and the answer is kResultNo.
std::int32_t ReportEncryptionFailure(std::int32_t code, const SafeItem& item);

/// The error box of a message that the add-in keeps on its own decision.
void TellNotSent(std::string_view reason);

}  // namespace corvessa
