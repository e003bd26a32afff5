#pragma once

#include <string>
#include <string_view>

namespace corvessa::engine {

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

}  // namespace corvessa::engine
