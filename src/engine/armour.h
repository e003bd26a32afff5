#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// OpenPGP as text: armoured blocks, clear-signed texts, and the charsets that texts were written
/// in. What fails throws EngineFailure.
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

/// A clear-signed text taken apart. It is read here, strictly, rather than by the library, so that
/// what is returned to the user and what the signature is checked against are the same bytes.
struct ClearSigned {
  /// Exactly what was signed: dashes unescaped, blanks and tabs at the ends of lines taken off,
  /// lines joined by CRLF, without the line ending before the signature.
  std::string content;
  /// The armoured signature.
  std::string_view signature;
};

/// Takes the first clear-signed block apart; what follows it is dropped. EngineFailure -9: there is
/// none; -3: anything but empty lines before it, a header line other than "Hash:", text among the
/// headers, an unescaped dash, no signature or no end.
ClearSigned ReadClearSigned(std::string_view text);

/// Text as the add-in takes it, of what somebody encrypted: Japanese mail by its escapes, and UTF-8
/// as it is; anything else was written by a program of its time in the charset of western Windows,
/// which Latin-1 means too. Bytes that are none of these stay as they are.
std::string DecodeText(std::string bytes);

/// What UTF-8 text may have been when it was signed, in the charsets of mail before UTF-8 (western
/// Windows, Latin-9, Japanese), each once; nothing for plain ASCII. Bytes that are UTF-8 themselves
/// are left out: they mean another text than this one, which somebody has made look like it by a
/// wrong label. For that reason, too, there is no charset whose letters take up ASCII.
std::vector<std::string> EarlierEncodings(std::string_view text);

}  // namespace corvessa::engine
