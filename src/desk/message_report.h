#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "desk/outlook/item.h"
#include "message/attachment_node.h"

namespace corvessa::desk {

/// A failure without a code in its text.
inline constexpr std::int32_t kUnknownStatus = -1;

/// How a message or an attachment was protected.
struct Protection {
  std::int32_t decrypt_status = decrypt_status::kNotEncrypted;
  std::int32_t sign_status = sign_status::kNone;
  std::vector<std::string> signers = {};

  bool DecryptionFailed() const {
    return decrypt_status != decrypt_status::kDone &&
           decrypt_status != decrypt_status::kNotEncrypted;
  }
  bool SignatureFailed() const {
    return sign_status != sign_status::kGood && sign_status != sign_status::kNone;
  }
  bool Failed() const { return DecryptionFailed() || SignatureFailed(); }
};

/// An attachment of the open message. One that the add-in did not look at has no protection.
struct AttachmentReport {
  std::string name;
  std::uint64_t size = 0;
  std::optional<Protection> protection;
  /// As the status window words them.
  std::string decrypt_text;
  std::string sign_text;
  /// Empty when it was not saved.
  std::string saved_as;
};

/// What the add-in shows of an open message, read where its user reads it: on the status bar and in
/// the status window.
struct MessageReport {
  /// Missing when there is no status bar, because the add-in is switched off or the message is left
  /// to a button.
  std::optional<Protection> protection;
  /// The message is protected and was left as it is, because the user's settings leave it to the
  /// "Decrypt/verify" button.
  bool left_to_button = false;
  /// The status bar's lines.
  std::vector<std::string> status_lines;
  std::vector<AttachmentReport> attachments;

  /// Something could not be decrypted or its signature is not good.
  bool Failed() const;
};

/// The button that a message may be left to.
inline constexpr std::string_view kDecryptNowButton = "Decrypt/verify";

/// Clicks the status bar for what it says of the attachments; the status window is closed again.
MessageReport ReadMessage(const InspectorWindowPtr& window);

/// The text as it came: what the status window shows of it, or as it stands when the status bar has
/// no button for that, because nothing was changed. Nothing when the window shows none.
std::optional<std::string> ReadOriginal(const InspectorWindowPtr& window);

}  // namespace corvessa::desk
