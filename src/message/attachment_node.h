#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace corvessa {

/// Statuses shared by messages and attachments; any other value is a failure code.
inline constexpr std::int32_t kDecrypted = 0;
inline constexpr std::int32_t kNotEncrypted = 1;
inline constexpr std::int32_t kGoodSignature = 0;
inline constexpr std::int32_t kBadSignature = 1;
inline constexpr std::int32_t kNotSigned = 2;

/// One attachment of a message, stored as a temporary file.
struct AttachmentNode {
  /// The attachment's true display name, whatever the file had to be called.
  std::string sDisplayName;
  /// Full path of the temporary file.
  std::string sFilename;
  /// The folder that holds it, with a trailing backslash.
  std::string sDir;
  std::string sSigners;
  std::int32_t lDecryptStatus = kNotEncrypted;
  std::int32_t lSignStatus = kNotSigned;
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
