#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/secret_string.h"

namespace corvessa::desk {

class Answers;
class Terminal;

/// The passphrase for a new key: from the file's first line when one is named, from the answers
/// given for the address, else typed twice at the terminal. Throws Failure when there is none.
SecretString ChoosePassphrase(std::string_view address, const std::string& file, Answers& answers,
                              Terminal& terminal);

/// The passphrase of a key that is there: from the answers given for one of its addresses, else
/// typed at the terminal behind the prompt. Nothing when there is neither.
std::optional<SecretString> FindPassphrase(const std::vector<std::string>& addresses,
                                           const std::string& prompt, Answers& answers,
                                           Terminal& terminal);

}  // namespace corvessa::desk
