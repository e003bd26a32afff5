#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/outlook.h"

/// What the add-in decided, as values, told at the moment it decides. A host that has to act on
/// results (report them, or keep a message from leaving) learns them here and nowhere else:
/// captions and questions are for the user's eyes and may be branded or reworded.
namespace corvessa::platform {

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

/// How a message or an attachment was protected.
struct Protection {
  std::int32_t decrypt_status = decrypt_status::kNotEncrypted;
  std::int32_t sign_status = sign_status::kNone;
  /// Empty unless the signature is good: a bad one proves nothing about who made it.
  std::vector<std::string> signers = {};
  /// Why it failed, in one sentence; empty when nothing did.
  std::string reason = {};
  /// The same for programs, see EngineTrouble; empty for most.
  std::string reason_code = {};
  /// The IDs of keys that made a signature and are not known.
  std::vector<std::string> unknown_signers = {};

  bool DecryptionFailed() const {
    return decrypt_status != decrypt_status::kDone &&
           decrypt_status != decrypt_status::kNotEncrypted;
  }
  bool SignatureFailed() const {
    return sign_status != sign_status::kGood && sign_status != sign_status::kNone;
  }
  bool Failed() const { return DecryptionFailed() || SignatureFailed(); }
};

struct AttachmentFacts {
  /// Its display name.
  std::string name;
  /// Missing when the add-in did not examine it, for example because the message could not be
  /// decrypted.
  std::optional<Protection> protection;
};

/// A protected or foreign part that was left as it is.
struct UnreadPart {
  /// The name of the attachment; empty for the text.
  std::string name;
  /// In one sentence.
  std::string reason;
};

/// A received message that is open in a window.
struct MessageFacts {
  enum class State {
    /// The add-in leaves it as it is: it is switched off, or there is nothing for it to do.
    kLeftAlone,
    /// Protected, and left so until the user clicks "Decrypt/verify".
    kLeftToButton,
    /// The add-in has looked at it. The other members are meaningful in this state only.
    kRead,
  };

  State state = State::kLeftAlone;
  Protection protection = {};
  /// In the item's order; empty when the attachments were not processed.
  std::vector<AttachmentFacts> attachments = {};
  /// Attachments may be protected, and are left so until the user saves them with "Decrypt/verify
  /// attachment(s)".
  bool attachments_left_to_button = false;
  /// Only the protected part is shown of a text that holds more than that.
  bool shows_part = false;
  /// The text holds lines that were not protected, each marked by "| " at its beginning. The sign
  /// status is then never good; the signers of the rest stand here.
  bool marks_unprotected = false;
  std::vector<std::string> part_signers = {};
  /// The subject came inside the protected part and is shown in place of the mail's own.
  bool subject_protected = false;
  /// The address that a message with a good signature was sent from, when none of its signers has
  /// it.
  std::string unsigned_sender = {};
  std::vector<UnreadPart> not_read = {};
};

/// What became of an attachment that was to be saved decrypted and verified.
struct SavedAttachment {
  /// Its place in the item, from 1.
  std::int32_t index;
  AttachmentFacts attachment;
  /// The file that holds it; empty when it was not saved.
  std::string path;
  /// For the user: why it was not saved. Empty when it was, or when an existing file was not to be
  /// replaced.
  std::string failure;
};

/// What a send needs its user's agreement for.
enum class Consent {
  /// Not to encrypt, or not to sign: chosen among the message's options before it was sent.
  kLeaveUnencrypted,
  kLeaveUnsigned,
  /// To send although encrypting or signing failed.
  kSendUnencrypted,
  kSendUnsigned,
  /// To send several attachments of the same name.
  kSameFileNames,
  /// To encrypt for additional addresses as well.
  kAdditionalKeys,
};

struct ConsentFacts {
  Consent to;
  bool given;
  /// Whom it is about: with kSendUnencrypted the recipients that cannot be encrypted for, where
  /// they are known; with kAdditionalKeys the additional addresses.
  std::vector<std::string> addresses = {};
};

/// Each routine does nothing unless a host overrides it. They must not throw, nor call the add-in.
/// Sends nest, because dialogs let the user send another message: go by the item.
class Observer {
 public:
  virtual ~Observer() = default;

  /// Replaces what was told of the message before.
  virtual void MessageChanged(const MailItemPtr& /*item*/, const MessageFacts& /*facts*/) {}
  virtual void AttachmentSaved(const MailItemPtr& /*item*/, const SavedAttachment& /*saved*/) {}

  // One send.
  /// The add-in has no part in it: it is switched off, or the item is not a mail.
  virtual void SendLeftAlone(const MailItemPtr& /*item*/) {}
  virtual void ConsentAsked(const MailItemPtr& /*item*/, const ConsentFacts& /*consent*/) {}
  /// The text and the attachments are signed by that address.
  virtual void Signed(const MailItemPtr& /*item*/, const std::string& /*signer*/) {}
  /// The text and the attachments are encrypted for these addresses, the sender's own included.
  virtual void Encrypted(const MailItemPtr& /*item*/,
                         const std::vector<std::string>& /*recipients*/) {}
  /// The last word: the message leaves as it stands now, or the send was cancelled, whatever was
  /// told of it before.
  virtual void SendEnded(const MailItemPtr& /*item*/, bool /*cancelled*/) {}
};

}  // namespace corvessa::platform
