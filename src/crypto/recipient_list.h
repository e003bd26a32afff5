#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace corvessa {

/// The addresses of a list separated by ";"; none for an empty list.
std::vector<std::string> SplitRecipients(std::string_view list);

/// The domains of the addresses, each once, in order.
std::vector<std::string> RecipientDomains(const std::vector<std::string>& addresses);

}  // namespace corvessa
