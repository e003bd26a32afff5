#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "engine/verification.h"

namespace corvessa::engine {

/// What was found about the signatures inside the messages that were decrypted last. Each finding
/// belongs to the very bytes that the engine gave out, known by their digest (a file by its path,
/// too), and to nothing else; no content is kept.
class VerifiedContents {
 public:
  explicit VerifiedContents(std::size_t kept) : kept_(kept) {}

  void Add(std::string digest, Verdict verdict);
  /// What begins so has come out of a message that was not signed.
  void Forget(std::string_view start);
  /// Null for a digest of anything else.
  const Verdict* Find(std::string_view digest) const;

 private:
  std::size_t kept_;
  std::deque<std::pair<std::string, Verdict>> findings_;
};

/// A text in clear-signed armour that, unlike what is clear-signed, keeps every byte of it: the
/// signature is one over the bytes inside a message, with whatever line ends and blanks they have.
std::string WrapSigned(std::string_view text, const InnerSignatures& signatures,
                       std::string_view version);
/// The text out of what WrapSigned made.
std::string UnwrapSigned(std::string_view wrapped);

}  // namespace corvessa::engine
