#pragma once

#include <string>
#include <string_view>

#include "platform/cdo.h"

namespace corvessa {

namespace platform {
class Recipient;
}

/// Turns Outlook recipients into Internet addresses. Nothing here throws.
namespace CDO_Addresses {

/// The shared CDO session, created on first need; null when it cannot be had. Tells the user once
/// how to install Collaboration Data Objects when they are missing.
platform::MAPISessionPtr GetMAPISession();
/// Lower-case address of a recipient; empty when it does not resolve.
std::string GetRealAddress(platform::Recipient& recipient);
/// The address found in the address books, trimmed and in lower case, or the text as given.
std::string GetRealAddressString(std::string_view text);
/// Looks through every entry of every address list.
bool SearchAddressBooks(std::string_view target, std::string& found);

/// While set, a missing CDO is told to the user. Set at start-up.
extern bool g_bWarnAboutCDO;
/// Drops the session; for close-down.
void DropSession();

}  // namespace CDO_Addresses
}  // namespace corvessa
