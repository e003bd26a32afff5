#pragma once

#include <string>
#include <string_view>

#include "message/item_access.h"

namespace corvessa {

/// The add-in's own Internet header fields in an item, named "X-Nimbra-" and a key, which carry the
/// choices of a message being composed. They are read and written through the safe item and are not
/// saved: Outlook stores them with the item.
///
/// Writing throws if the field could not be written, because a lost choice is a mail sent otherwise
/// than its sender asked. Reading does not throw: a failure reads as an absent field, which asks
/// for encryption and signing.

/// Keys of the choices; set means that the sender does not want it.
inline constexpr std::string_view kNoEncrypt = "NoEncrypt";
inline constexpr std::string_view kNoSign = "NoSign";

/// Any header field, by its name.
void SetItemField(const SafeItem& item, std::string_view name, std::string_view value);
std::string GetItemField(const SafeItem& item, std::string_view name);

/// The name of the field for a key: hyphens replace its blanks.
std::string HeaderFieldName(std::string_view key);

/// The field for a key, "True" or "False".
void WriteHeaderFlag(const SafeItem& item, std::string_view key, bool flag);
bool ReadHeaderFlag(const SafeItem& item, std::string_view key);

}  // namespace corvessa
