#pragma once

#include <string>
#include <string_view>

#include "base/secret_string.h"

namespace corvessa::desk {

class Answers;
class Terminal;

/// The passphrase for a new key: from the file's first line when one is named, from the answers
/// given for the address, else typed twice at the terminal. Throws Failure when there is none.
SecretString ChoosePassphrase(std::string_view address, const std::string& file, Answers& answers,
                              Terminal& terminal);

}  // namespace corvessa::desk
