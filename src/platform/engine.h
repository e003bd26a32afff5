#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace corvessa::platform {

/// What an engine operation answers: 0 is success, negative an error, unless the operation says
/// otherwise. A status is a value; a call that fails as a call throws corvessa::Error instead.
using EngineStatus = std::int32_t;

/// The statuses that both sides look at. The add-in has a text of its own for each from -13 to 0.
namespace engine_status {

inline constexpr EngineStatus kDone = 0;
/// What a verification answers.
inline constexpr EngineStatus kGoodSignature = 1;
inline constexpr EngineStatus kBadSignature = 0;
inline constexpr EngineStatus kBadContent = -3;
inline constexpr EngineStatus kWrongPassphrase = -4;
inline constexpr EngineStatus kUnknownMethod = -5;
inline constexpr EngineStatus kInvalidKey = -6;
inline constexpr EngineStatus kKeyStoreTrouble = -7;
inline constexpr EngineStatus kIoTrouble = -8;
inline constexpr EngineStatus kBadFormat = -9;
inline constexpr EngineStatus kSignatureTrouble = -10;
inline constexpr EngineStatus kUnexpected = -11;
inline constexpr EngineStatus kNoKey = -13;
inline constexpr EngineStatus kCannotTell = -16;

}  // namespace engine_status

/// An ordered vector of strings as the engine's type library offers it.
class IEngineStringVector {
 public:
  virtual ~IEngineStringVector() = default;
  virtual void Add(std::string_view text) = 0;
  virtual std::int32_t Size() const = 0;
  /// Zero-based. Throws Error for an index outside 0 to Size() - 1.
  virtual std::string Item(std::int16_t index) const = 0;
};
using EngineStringVectorPtr = std::shared_ptr<IEngineStringVector>;

/// Names one key pair for an operation. The add-in passes none and lets the engine use what is
/// unlocked.
struct EngineAccount {
  std::string address;
};

/// Why an operation failed, for programs; the engine's last error says it in words.
struct EngineTrouble {
  /// One of engine_trouble, or empty for everything else.
  std::string reason;
  /// The IDs of the keys that it is about, in capital hexadecimal: those that a message is
  /// encrypted to, or that of a signer.
  std::vector<std::string> key_ids;
  /// The address of such a key, as far as it is known here.
  std::string address;
};

namespace engine_trouble {

inline constexpr char kKeyLocked[] = "keyLocked";
inline constexpr char kOtherKey[] = "otherKey";
inline constexpr char kPassphraseNeeded[] = "passphraseNeeded";
inline constexpr char kDamaged[] = "damaged";
inline constexpr char kNoProtection[] = "noProtection";
inline constexpr char kUnknownMethod[] = "unknownMethod";
inline constexpr char kUnknownSigner[] = "unknownSigner";
inline constexpr char kUnusableSigner[] = "unusableSigner";
inline constexpr char kBadSignature[] = "badSignature";
inline constexpr char kExpiredSignature[] = "expiredSignature";
inline constexpr char kOutdatedMethod[] = "outdatedMethod";

}  // namespace engine_trouble

/// The OpenPGP engine: key store, cryptography, key servers. It alone knows OpenPGP.
///
/// -13 means that a key does not exist. While the key store is damaged or cannot be read, so that
/// nobody can know, operations answer -7 instead (QueryKeyPair -16).
/// Paths are the add-in's Windows paths; text is UTF-8. An output is written only on success unless
/// an operation says otherwise.
class IEngine {
 public:
  virtual ~IEngine() = default;

  /// Options: "lookupKeyservers", "updateKeyservers", "customerID", "pgpMessageHeader",
  /// "pgpSignatureHeader". Throws Error for an unknown name or a value the option cannot take.
  virtual void SetOption(std::string_view name, std::string_view value) = 0;
  /// Locks every key pair.
  virtual void InitEngine() = 0;
  /// 0 a usable key is known for exactly this address; -13 there is none; -16 cannot tell, because
  /// no key server was reached or the key store is damaged or cannot be read.
  virtual EngineStatus QueryKeyPair(std::string_view address, std::string& text) = 0;
  /// Unlocks the address's key pair: 0 unlocked, -4 wrong passphrase, -13 no secret key.
  virtual EngineStatus AuthenticateAccount(std::string_view address,
                                           std::string_view passphrase) = 0;
  /// Writes an armoured detached signature into a temporary file, which the caller deletes.
  virtual EngineStatus SignFile(std::string_view path, std::string& signature_path) = 0;
  /// Clear-signs with the account, or with the key pair unlocked last.
  virtual EngineStatus SignText(std::string_view text, const EngineAccount* account,
                                std::string& signed_text) = 0;
  /// Encrypts for every address of the vector.
  virtual EngineStatus EncryptText(const IEngineStringVector& recipients, std::string_view text,
                                   std::string& armoured) = 0;
  /// Decrypts the file in place, all or nothing. -9: the file is no encrypted message. A signature
  /// inside is checked, and VerifyFile asks for the result.
  virtual EngineStatus DecryptFileEx(std::string_view path, const EngineAccount* account) = 0;
  /// The text of a message that was signed when it was encrypted comes in clear-signed armour, for
  /// which VerifyText answers with what was found inside the message.
  virtual EngineStatus DecryptTextEx(std::string_view armoured, const EngineAccount* account,
                                     std::string& plain) = 0;
  /// 1 good signature, 0 bad signature, else an error. `signers` receives the signers' addresses,
  /// `unknown_signers` the IDs of keys that could not be had; `content` exactly what was signed.
  virtual EngineStatus VerifyText(std::string_view signed_text, IEngineStringVector& signers,
                                  IEngineStringVector& unknown_signers, std::string& content) = 0;
  /// The same for a file and its detached signature, armoured or binary. -9: the signature's file
  /// holds none, or more than that. With an empty path only that is looked at: -10 for a signature.
  /// With an empty signature path it answers for the signature inside the message that
  /// DecryptFileEx decrypted into this file: -9 when there was none, or the file has changed.
  virtual EngineStatus VerifyFile(std::string_view path, std::string_view signature_path,
                                  IEngineStringVector& signers,
                                  IEngineStringVector& unknown_signers) = 0;
  /// One line about the last failure that a user can act on; never holds a passphrase.
  virtual std::string GetEngineLastError() = 0;
  /// Encrypts the file for every address; `encrypted_path` is the file to write. It is written
  /// whole or not at all.
  virtual EngineStatus EncryptFileToFile(const IEngineStringVector& recipients,
                                         std::string_view path,
                                         std::string_view encrypted_path) = 0;
  /// Hidden recipients from now on, or not.
  virtual void SetAnonymousMode(bool anonymous) = 0;
  /// The additional decryption addresses on record for an own address.
  virtual EngineStatus GetAddressADKs(std::string_view address, IEngineStringVector& addresses) = 0;
  /// The same for a recipient's domain or address.
  virtual EngineStatus GetRecipientADKs(std::string_view recipient,
                                        IEngineStringVector& addresses) = 0;

  // Beside the operations of the component's first interface. One that has only those does nothing
  // and answers -9 and no trouble; a file it decrypts all the same.

  /// The charset that the mail declares for the texts that follow, by its name in MIME or as
  /// "cp1252"; none when it is empty or unknown.
  virtual void SetDeclaredCharset(std::string_view charset) = 0;
  /// A passphrase to try on messages that are encrypted with one, until InitEngine.
  virtual void SetMessagePassphrase(std::string_view passphrase) = 0;
  /// The text of an armoured message that is signed and not encrypted, in clear-signed armour as of
  /// DecryptTextEx. -9: it is no such message.
  virtual EngineStatus OpenSignedText(std::string_view armoured, std::string& signed_text) = 0;
  /// DecryptFileEx that also says whether a signature was inside, so that VerifyFile need be asked
  /// only then.
  virtual EngineStatus DecryptSignedFile(std::string_view path, const EngineAccount* account,
                                         bool& is_signed) = 0;
  /// Why the last operation that failed did so.
  virtual EngineTrouble GetTrouble() = 0;
};
using EnginePtr = std::shared_ptr<IEngine>;

/// Makes the engine's objects.
class EngineFactory {
 public:
  virtual ~EngineFactory() = default;
  /// Throws Error (429) when the engine is not available.
  virtual EnginePtr CreateEngine() = 0;
  virtual EngineStringVectorPtr CreateStringVector() = 0;
};

}  // namespace corvessa::platform
