#pragma once

#include <string>
#include <string_view>

#include "platform/outlook.h"

namespace corvessa {

/// Keys of the choices that a message being composed carries.
inline constexpr std::string_view kNoEncrypt = "NoEncrypt";
inline constexpr std::string_view kNoSign = "NoSign";

/// Internet header fields of an item, read and written through the safe mail item and not saved. A
/// failure reads as an absent field.
void SetItemField(const platform::MailItemPtr& item, std::string_view name, std::string_view value);
std::string GetItemField(const platform::MailItemPtr& item, std::string_view name);

/// The name of one of the add-in's own fields: "X-Nimbra-" and the key with hyphens for blanks.
std::string HeaderFieldName(std::string_view key);

/// The add-in's own fields, "True" or "False".
/// WriteHeaderFlag throws when the field could not be written, because a choice that is not kept
/// would be a mail sent otherwise than its sender asked.
void WriteHeaderFlag(const platform::MailItemPtr& item, std::string_view key, bool flag);
bool ReadHeaderFlag(const platform::MailItemPtr& item, std::string_view key);

}  // namespace corvessa
