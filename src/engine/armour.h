#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace corvessa::engine {

/// An armoured block in a text, from its BEGIN line to its END line, and what stands round it.
struct ArmourBlock {
  std::string_view before;
  std::string_view block;
  std::string_view after;
};

/// The first block of a kind ("MESSAGE", "SIGNATURE", "PUBLIC KEY BLOCK"…) that starts at the
/// beginning of a line. Without an END line the block runs to the end of the text.
std::optional<ArmourBlock> FindArmour(std::string_view text, std::string_view kind);

/// The bytes in a block. EngineFailure (-3) when it is damaged; its checksum must fit when it has
/// one.
std::string Dearmour(std::string_view block);

/// Armours bytes as a "message", "signature", "public key" or "secret key", with a Version line
/// unless `version` is empty. Lines end in CRLF, as mail has them, and are short enough for any
/// mail.
std::string Armour(std::string_view bytes, const char* type, std::string_view version);

}  // namespace corvessa::engine
