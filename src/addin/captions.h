#pragma once

#include <string>

namespace corvessa {

/// Names of the message's command bars and the key of the reply flag, built from the short product
/// name at start-up.
extern std::string g_sOptionsCaption;
extern std::string g_sStatusCaption;
extern std::string g_sDecryptNowCaption;
extern std::string g_sDecryptAttachmentsCaption;
extern std::string g_sEncryptedReplyCaption;

/// Builds all five.
void BuildCaptions();

/// The add-in's programmatic identifier in the form in which Office routes a button's click to it.
inline constexpr char kButtonAction[] = "!<CorvessaPro_OL.Connect>";

}  // namespace corvessa
