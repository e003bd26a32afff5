#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/rnp_streams.h"

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

/// Takes the armour off bytes that come in pieces. What only carries the content may be damaged: a
/// checksum that does not fit or is missing, missing padding, a missing empty line, line ends. What
/// is inside is protected better.
class ArmourReader final : public Sink {
 public:
  explicit ArmourReader(Sink& sink) : sink_(sink) {}
  void Write(std::string_view piece) override;
  /// All was base64, and the block came to its end.
  bool IsWhole() const { return place_ == Place::kEnd && !is_damaged_; }

 private:
  enum class Place { kBefore, kHeaders, kContent, kAfterContent, kEnd };
  void TakeHeaderByte(char c);
  void TakeContentByte(char c);

  Sink& sink_;
  Place place_ = Place::kBefore;
  std::string line_;
  std::string bytes_;
  std::uint32_t bits_ = 0;
  int bit_count_ = 0;
  bool is_damaged_ = false;
};

/// The bytes in a block. EngineFailure (-3) when it is damaged.
std::string Dearmour(std::string_view block);

/// The value of a header of the block; empty when it has none.
std::string ArmourHeader(std::string_view block, std::string_view name);

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

/// What is known about the charset of a text, the surest first: names as in MIME. Nobody vouches
/// for them.
using CharsetNames = std::vector<std::string>;

/// Text as the add-in takes it, of what somebody encrypted: UTF-8 as it is, else in the first of
/// the charsets that it fits, else in the one that it looks like. When it fits none, U+FFFD stands
/// for what cannot be read, and a first line says so.
std::string DecodeText(std::string bytes, const CharsetNames& names);

/// What UTF-8 text may have been when it was signed: in the named charsets and in all of mail
/// before UTF-8, each once; nothing for plain ASCII. Bytes that are UTF-8 themselves are left out:
/// they mean another text than this one, which somebody has made look like it by a wrong label.
std::vector<std::string> EarlierEncodings(std::string_view text, const CharsetNames& names);

}  // namespace corvessa::engine
