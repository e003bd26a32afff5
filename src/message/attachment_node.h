#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace corvessa {

// What a message or an attachment was found to be; any other value is a failure code. The engine's
// own statuses of a verification count the other way round.
namespace decrypt_status {
inline constexpr std::int32_t kDone = 0;
inline constexpr std::int32_t kNotEncrypted = 1;
}  // namespace decrypt_status

namespace sign_status {
inline constexpr std::int32_t kGood = 0;
inline constexpr std::int32_t kBad = 1;
inline constexpr std::int32_t kNone = 2;
}  // namespace sign_status

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

  /// The file as it was stored from the item, before anything was done to it; the same as sFilename
  /// as long as nothing was, empty for a file that is not from the item. It is kept until the node
  /// goes, because the originals go back into the item on close and on every failure.
  std::string original_filename;
  /// The private folder of the whole message, with a trailing backslash; sDir is it or lies in it.
  std::string message_folder;
};

using AttachmentNodePtr = std::shared_ptr<AttachmentNode>;
using AttachmentNodes = std::vector<AttachmentNodePtr>;

}  // namespace corvessa
