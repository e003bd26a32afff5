#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/observer.h"

namespace corvessa {

namespace decrypt_status = platform::decrypt_status;
namespace sign_status = platform::sign_status;

/// Why an operation failed.
struct FailureDetails {
  /// The engine's sentence.
  std::string reason;
  /// The IDs of unknown keys that made a signature.
  std::vector<std::string> unknown_signers;
  /// See platform::EngineTrouble.
  std::string code = {};
  /// Whose key it is about, as far as it is known.
  std::string address = {};
};

/// What became of a signature.
struct Verdict {
  std::int32_t status = sign_status::kNone;
  /// Joined by ", "; empty unless it is good.
  std::string signers = {};
  FailureDetails failure = {};
};

/// The verdict on what several signatures cover: whatever is not good decides, then their signers
/// count together.
Verdict Combined(const std::vector<Verdict>& verdicts);

/// One attachment of a message, stored as a temporary file.
struct AttachmentNode {
  /// The attachment's true display name, whatever the file had to be called.
  std::string sDisplayName;
  /// Full path of the temporary file.
  std::string sFilename;
  /// The folder that holds it, with a trailing backslash.
  std::string sDir;
  std::string sSigners;
  std::int32_t lDecryptStatus = decrypt_status::kNotEncrypted;
  std::int32_t lSignStatus = sign_status::kNone;
  bool bDetachedSig = false;
  /// The statuses were found, not only assumed.
  bool examined = false;
  /// What made them a failure, see platform::Protection.
  FailureDetails failure;

  /// The file as it was stored from the item, before anything was done to it; the same as sFilename
  /// as long as nothing was, empty for a file that is not from the item. It is kept until the node
  /// goes, because the originals go back into the item on close and on every failure.
  std::string original_filename;
  /// The private folder of the whole message, with a trailing backslash; sDir is it or lies in it.
  std::string message_folder;
};

using AttachmentNodePtr = std::shared_ptr<AttachmentNode>;
using AttachmentNodes = std::vector<AttachmentNodePtr>;

/// As the host's observer is told; `signers` joined by ", ".
platform::Protection ProtectionOf(std::int32_t decrypted, std::int32_t verified,
                                  std::string_view signers, const FailureDetails& failure);
platform::AttachmentFacts FactsOf(const AttachmentNode& node);

/// What a decrypt status says of a message or an attachment, to stand after its name: "is
/// encrypted", "is not encrypted", "failed decryption ( 3)".
std::string DecryptStatusText(std::int32_t status);

/// The same for a sign status; `swapped` exchanges the texts of good and bad, for a caller whose
/// statuses are the engine's own.
std::string SignStatusText(std::int32_t status, bool swapped);

/// The text of a sign status and, for a good signature, " by " and the signers, fit to be shown.
std::string SignStatusTextWithSigners(std::int32_t status, const std::string& signers);

/// Office's built-in button faces of a thing that is so and of one that is not.
inline constexpr std::int32_t kFaceOn = 1087;
inline constexpr std::int32_t kFaceOff = 1088;

/// The face of a status: on for 0 only.
std::int32_t StatusFace(std::int32_t status);

}  // namespace corvessa
