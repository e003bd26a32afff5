#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvessa::engine {

// The little that the engine reads of OpenPGP packets itself: what the library cannot tell (does a
// file hold an encrypted message at all, where does a key of a ring end) and cannot do (hidden
// recipients). Everything here takes arbitrary bytes.

/// One session key encrypted to a public key, from the start of a message.
struct SessionKeyPacket {
  std::size_t key_id_offset = 0;  ///< of its eight key ID bytes, from the start of the message
  int algorithm = 0;
};

/// The start of an encrypted message, up to the header of its data packet.
struct EncryptedMessageStart {
  std::vector<SessionKeyPacket> session_keys;
  /// The bytes without packets that say nothing (markers, padding, private ones) and those that are
  /// encrypted in a way unknown here; the positions above are within these. What the message begins
  /// with may be longer: it is the first `length` bytes of it.
  std::string known;
  std::size_t length = 0;
  std::size_t passphrase_packets = 0;  ///< session keys that a passphrase gives
  /// Key IDs of recipients that only newer programs can read for.
  std::vector<std::string> unknown_key_ids;
  /// The data itself, or for some recipient the way to it, is of a kind unknown here.
  bool has_unknown_method = false;
  bool has_unknown_data = false;
};

/// Longest start that is looked at; enough for 1,900 RSA recipients of 4096 bits.
inline constexpr std::size_t kMaxMessageStart = std::size_t{1} << 20;

/// Reads the start of a binary message. Nothing unless it consists of at least one well-formed
/// session key packet followed by a data packet, or of a data packet that says how it is encrypted:
/// ordinary files do not look like that by chance.
std::optional<EncryptedMessageStart> ReadEncryptedMessageStart(std::string_view bytes);

/// The bytes begin with a whole session key packet of a known kind: this is an encrypted message,
/// however damaged the rest is.
bool BeginsWithSessionKey(std::string_view bytes);

/// The bytes begin like a message that is only signed or compressed, or not even that.
bool BeginsUnencrypted(std::string_view bytes);

inline constexpr std::size_t kKeyIdLength = 8;

/// The bytes of a key ID in hexadecimal.
std::string KeyIdBytes(std::string_view key_id);

/// The key ID of a session key packet of a start's known bytes, in capital hexadecimal;
/// "0000000000000000" when it is hidden.
std::string KeyIdOf(std::string_view message, const SessionKeyPacket& packet);
bool IsHidden(std::string_view message, const SessionKeyPacket& packet);

/// Makes every recipient of the message hidden. False, with the message as it was, when its start
/// is not understood: then it names its recipients and must not go out.
[[nodiscard]] bool HideRecipients(std::string& message);

/// Names `key_id` (hexadecimal) as the recipient of the hidden packets of that algorithm within the
/// first `start.length` bytes, so that the library tries that key on them. False: there are none.
bool RevealRecipients(std::string& message_start, const EncryptedMessageStart& start, int algorithm,
                      std::string_view key_id);

/// The bytes are whole signatures of documents, one after the other, and nothing else: down to the
/// last number in them, so that no file looks like one by chance. What only calls itself a
/// signature is a document, which must not travel in clear.
bool AreSignatures(std::string_view bytes);

/// Packets without those that say nothing: markers, padding, private and other uncritical ones.
std::string WithoutIgnoredPackets(std::string_view packets);

/// One transferable key of a key ring: its primary key packet and all that belongs to it.
struct RingPiece {
  std::size_t offset = 0;
  std::size_t length = 0;
  std::size_t packets = 0;
};

/// Cuts a binary key ring into its keys. `damaged` is set when bytes were left over that form no
/// key; the keys before them are returned.
std::vector<RingPiece> SplitKeyRing(std::string_view ring, bool& damaged);

/// A part of a transferable key: the primary key, a user ID or attribute, or a subkey, with the
/// signatures that follow it.
struct KeyPart {
  enum class Kind { kPrimary, kUserId, kSubkey };
  Kind kind = Kind::kPrimary;
  std::string_view bytes;
};

/// Cuts one key of a ring (a RingPiece's bytes) into its parts, in their order.
std::vector<KeyPart> SplitKey(std::string_view key);

/// The packet that a key, or a part of it, begins with.
std::string_view FirstPacket(std::string_view key);

/// The same without its header.
std::string_view FirstBody(std::string_view key);

/// The signatures that revoke whole keys.
std::vector<std::string_view> KeyRevocations(std::string_view keys);
/// The key with these right behind its primary key packet. Only there does the library look, but
/// a revocation appended to a key file is at the end.
std::string WithRevocationsFirst(std::string_view key);

/// The secret key packets of a key, without their headers.
std::vector<std::string_view> SecretPackets(std::string_view key);
bool HoldsSecretKeys(std::string_view key);

/// It stands for a secret key that is kept elsewhere, as gpg writes it.
bool IsStubPacket(std::string_view secret_body);

}  // namespace corvessa::engine
