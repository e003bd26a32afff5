#pragma once

#include <string>
#include <string_view>

/// What the whole product takes for an email address.
///
/// There is one rule because what one step accepts every other must handle: an address that can be
/// secured can be sent to, and its key is found by it. The rule is narrower than the standards of
/// mail. A letter from outside ASCII can look like another, and quotes, brackets or comments mean
/// something to a reader but nothing to a comparison, so that two addresses would look like one.
namespace corvessa {

/// The form in which addresses are compared: without blanks around it, ASCII letters in lower case.
std::string NormalAddress(std::string_view address);

/// Whether a normal address is one: "name@domain" with a domain that IsDomain accepts. The name
/// begins with a letter, a digit or "_" and holds no blank, quote, bracket or separator.
bool IsAddress(std::string_view normal);

/// Whether lower-case text is a domain: at least two parts of ASCII letters, digits and "-", joined
/// by dots.
bool IsDomain(std::string_view text);

/// What follows the last "@"; the whole text when there is none, which may be a domain itself.
std::string_view DomainOf(std::string_view address);

}  // namespace corvessa
