#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "accounts/nimbra_account.h"
#include "message/attachment_node.h"
#include "message/item_access.h"
#include "platform/engine.h"
#include "platform/outlook.h"

namespace corvessa {

/// What HasKeypair answers.
inline constexpr std::int32_t kNoKeyPair = 0;
inline constexpr std::int32_t kHasKeyPair = 1;
inline constexpr std::int32_t kKeyPairUnknown = -1;

/// What Authenticate answers.
inline constexpr std::int16_t kUnlocked = 0;
inline constexpr std::int16_t kLoginCancelled = 1;
inline constexpr std::int16_t kRefused = -1;

/// Result of the other operations if they end without an engine status: the user gave up, or an
/// error occurred.
inline constexpr std::int32_t kGivenUp = -1;
/// An error of this side, not of the engine. Not -1, whose text sends the user to check the
/// connection.
inline constexpr std::int32_t kLocalFailure = platform::engine_status::kUnexpected;

/// The only class that talks to the encryption engine. What configures it, Init, GetLastError,
/// DecryptFileEx, AddToVector, AddKeyAccountsToRecp and VerifyAttachment let its errors through; no
/// other public operation throws.
class CryptoOperations {
 public:
  CryptoOperations();
  ~CryptoOperations();
  CryptoOperations(const CryptoOperations&) = delete;
  CryptoOperations& operator=(const CryptoOperations&) = delete;

  void SetLookupKeyServers(std::string_view servers);
  void SetUpdateKeyServers(std::string_view servers);
  void SetCustomerID(std::string_view id);
  void SetPGPMessageHeader(std::string_view header);
  void SetPGPSignatureHeader(std::string_view header);
  void SetAnonymous(bool anonymous);
  /// Locks every key pair in the engine.
  void Init();
  std::string GetLastError();
  platform::EngineStatus DecryptFileEx(std::string_view path);
  /// kHasKeyPair, kNoKeyPair or kKeyPairUnknown.
  std::int32_t HasKeypair(std::string_view address);
  /// Asks for an account and its passphrase and unlocks it: kUnlocked, kLoginCancelled or
  /// kRefused. Counts the attempt unless it was cancelled.
  std::int16_t Authenticate(std::int16_t& attempts, std::int16_t& wrong_account);
  /// decrypt_status::kNotEncrypted or kDone (body replaced), kGivenUp, else an engine status.
  /// `body` changes on success only.
  std::int32_t DecryptMailItem(const platform::MailItemPtr& item, std::string& body,
                               AttachmentNodes& attachments);
  /// Adds the text unless it is there already (compared exactly) or blank.
  void AddToVector(platform::IEngineStringVector& addresses, std::string_view text);
  bool HasEncryptedOrSignedAttachments(const AttachmentNodes& attachments);
  /// Deletes the files, then their folders when nothing is left in them; a file that cannot be
  /// deleted goes to the delete queue. Empties the collection. Never fails.
  void KillAllFiles(AttachmentNodes& attachments);
  /// sign_status::kNone, kGood (body replaced by what was signed) or kBad, kGivenUp, else an engine
  /// status.
  std::int32_t VerifyMailItem(const platform::MailItemPtr& item, std::string& body,
                              AttachmentNodes& attachments, std::string& signers);
  /// Adds one own address, so that sent mail stays readable to its sender.
  void AddKeyAccountsToRecp(platform::IEngineStringVector& recipients);
  /// 0 when the item is ready to be sent; anything else must stop the send.
  std::int32_t SignAndEncryptItem(const SafeItem& item, AttachmentNodes& attachments,
                                  bool no_options_bar);
  /// The file is a detached signature by its name, and its data file is at hand.
  bool IsSignature(std::string_view path, const AttachmentNodes& attachments,
                   const platform::MailItemPtr& item);
  /// Saves the item's attachments into a private temporary folder, a node each; false, with the
  /// user told, when one could not be saved.
  bool StoreAllAttachments(const SafeItem& item, AttachmentNodes& attachments, bool no_options_bar);
  /// Removes every attachment of the item.
  bool ClearAttachments(const platform::MailItemPtr& item);
  /// Replaces the item's attachments by the nodes' files, or by the originals they were made from.
  bool ReInsertAttachments(const platform::MailItemPtr& item, const AttachmentNodes& attachments,
                           bool originals);
  /// Verifies a file against its detached signature, sets the statuses and signers of both nodes
  /// and words the outcome for the user. Lets the engine's errors through.
  std::string VerifyAttachment(AttachmentNode& data, AttachmentNode& signature);

  // Not part of the interface that callers bind to by position, so they stand at its end.
  /// Tells the engine the charset that the mail declares for its text.
  void DeclareCharset(const platform::MailItemPtr& item);
  /// Puts a message that is signed and not encrypted into clear-signed form; leaves any other text.
  void OpenSignedText(std::string& body);
  /// The last value passed to SetAnonymous.
  bool IsAnonymous() const { return anonymous_; }
  /// Decrypts a stored file that is a whole message, asking for passphrases as DecryptMailItem
  /// does: decrypt_status::kNotEncrypted or kDone (the file replaced), kGivenUp, else an engine
  /// status. The node has the status of a signature inside.
  std::int32_t DecryptMessageFile(AttachmentNode& node);
  /// A detached signature over a part of a message.
  Verdict VerifyPart(std::string_view content, std::string_view signature);
  /// Why the last DecryptMailItem, DecryptMessageFile or VerifyMailItem failed.
  const FailureDetails& LastFailure() const { return failure_; }
  /// Gives the engine back at close-down, also while an operation still holds this object; every
  /// later call of the engine raises kObjectNotSet.
  void ReleaseEngine();

 private:
  using Decryption = std::function<platform::EngineStatus()>;
  /// After a failure, asks for the passphrase of a message that is encrypted with one, three times
  /// at most. Nothing when that is not why it failed, else whether it could be decrypted.
  std::optional<bool> DecryptWithPassphrase(const Decryption& decrypt);
  /// Asks for accounts, three attempts at most, until one unlocks the key that `decrypt` needs;
  /// null when given up.
  NimbraAccountPtr LoginAndDecrypt(const Decryption& decrypt);
  /// The same for a `decrypt` that has just failed; false when given up.
  bool DecryptWithLogin(const Decryption& decrypt);
  Verdict Verify(std::string_view path, std::string_view signature_path);
  /// What the engine says of its last operation, which failed.
  FailureDetails FailureOf(const platform::IEngineStringVector* unknown_signers = nullptr);
  /// Decrypts a node's file, keeping the original.
  platform::EngineStatus DecryptAttachment(AttachmentNode& node);
  /// Sets the node's signature status to that of a signature inside the message that its file was
  /// decrypted from.
  void ReadInnerSignature(AttachmentNode& node);
  /// The file was not encrypted in the way that the text was: the one with a passphrase, the other
  /// to a key. With a key for both, logging in for the text is enough.
  bool NeedsOtherUnlocking(platform::EngineStatus status);
  std::int32_t DecryptAllAttachments(AttachmentNodes& attachments);
  std::int32_t VerifyAllAttachments(AttachmentNodes& attachments);
  /// Whether the engine finds a signature in the file, and nothing else. A name can say anything:
  /// what only calls itself a signature is a document, which must neither travel in clear nor be
  /// replaced.
  bool HoldsSignature(std::string_view path);
  /// The same where one file must not cost the others: one that fails holds none.
  bool HoldsReadableSignature(std::string_view path);
  /// SignAndEncryptItem once the attachments are stored.
  std::int32_t SignAndEncryptStored(const SafeItem& item, AttachmentNodes& attachments);
  std::int32_t SignMailItem(const SafeItem& item, AttachmentNodes& attachments, bool sign_only);
  std::int32_t SignAllAttachments(const platform::MailItemPtr& item, AttachmentNodes& attachments);
  std::int32_t EncryptMailItem(const SafeItem& item, AttachmentNodes& attachments);
  std::int32_t EncryptAllAttachments(const platform::MailItemPtr& item,
                                     AttachmentNodes& attachments,
                                     const platform::IEngineStringVector& recipients);
  /// 0 and the addresses of all recipients, or kGivenUp if one cannot be resolved.
  std::int32_t ConcatenateRecpAddrs(const SafeItem& item, std::vector<std::string>& addresses);

  /// Asks for the signing account's passphrase until the engine takes it: its status, nothing when
  /// the user gave up.
  std::optional<platform::EngineStatus> UnlockSigner(const NimbraAccountPtr& signer);
  /// kNoKey when a recipient is known to have none; kEncryptionCancelled, and the user is told why,
  /// when the key store is damaged or cannot be read: then a missing key proves nothing, and no
  /// question may offer to send in clear because of it.
  std::int32_t CheckForKeys(const platform::IEngineStringVector& recipients);
  /// Encrypting for nobody fails for want of recipients, unless the engine's key store is in
  /// trouble; then GetLastError says why.
  bool IsKeyStoreWhole();
  void AddOwnAddress(platform::IEngineStringVector& recipients);
  /// Adds what the recipients' domains ask for, with the user's consent; 1000 without it.
  std::int32_t AddAdditionalDecryptionKeys(const SafeItem& item,
                                           const std::vector<std::string>& addresses,
                                           platform::IEngineStringVector& recipients);
  std::int32_t EncryptAttachment(AttachmentNode& node,
                                 const platform::IEngineStringVector& recipients);
  /// The last step of sending: the processed files take the place of the item's attachments.
  std::int32_t PutProcessedAttachments(const SafeItem& item, const AttachmentNodes& attachments);

  std::string VectorToString(const platform::IEngineStringVector& texts);

  /// Raises kObjectNotSet without an engine. Returns a reference of its own, so that a call under
  /// way outlives ReleaseEngine.
  platform::EnginePtr Engine() const;

  platform::EnginePtr m_oNimbraCrypto;
  bool anonymous_ = false;
  bool has_message_passphrase_ = false;  ///< the engine has one to try
  FailureDetails failure_;
};

/// The one engine wrapper; null before it is first needed and after close-down.
extern std::shared_ptr<CryptoOperations> g_oCrypto;

/// Creates and configures a new engine wrapper from the brand's values and makes it g_oCrypto. On
/// failure g_oCrypto stays as it was and the error goes to the caller.
std::shared_ptr<CryptoOperations> CreateCrypto();

/// The only way to get the engine wrapper. Creates it, and starts the housekeeping, on demand, so
/// that an add-in enabled after start-up never sends in clear for lack of one. Raises kObjectNotSet
/// after close-down, otherwise throws what CreateCrypto throws.
std::shared_ptr<CryptoOperations> Crypto();

}  // namespace corvessa
