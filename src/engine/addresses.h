#pragma once

#include <string>
#include <string_view>

namespace corvessa::platform {
struct EngineAccount;
}

namespace corvessa::engine {

/// The address that a key's user ID carries, "name <address>" or the address alone, in lower case;
/// "" when it carries none that can be meant exactly (blanks, control characters, anything that is
/// not ASCII, separators, no single @).
std::string AddressOf(std::string_view user_id);

/// An address as it is compared: in lower case (ASCII), blanks at both ends taken off.
std::string NormalAddress(std::string_view address);

/// The account's address, normal; "" for none.
std::string AccountAddress(const platform::EngineAccount* account);

}  // namespace corvessa::engine
