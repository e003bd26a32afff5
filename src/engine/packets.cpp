#include "engine/packets.h"

#include <algorithm>
#include <cstdint>

namespace corvessa::engine {
namespace {

constexpr int kPublicKeySessionPacket = 1;
constexpr int kSignaturePacket = 2;
constexpr int kPassphraseSessionPacket = 3;
constexpr int kSecretKeyPacket = 5;
constexpr int kPublicKeyPacket = 6;
constexpr int kSecretSubkeyPacket = 7;
constexpr int kUnprotectedDataPacket = 9;
constexpr int kMarkerPacket = 10;
constexpr int kUserIdPacket = 13;
constexpr int kPublicSubkeyPacket = 14;
constexpr int kUserAttributePacket = 17;
constexpr int kProtectedDataPacket = 18;
constexpr int kAuthenticatedDataPacket = 20;
constexpr int kPaddingPacket = 21;
constexpr int kFirstUncriticalPacket = 40;

struct PacketHeader {
  int tag = 0;
  std::size_t length = 0;  ///< of the header itself
  /// Of the body; nothing when it comes in chunks or runs to the end.
  std::optional<std::size_t> body_length;
};

constexpr std::size_t kKeyIdPosition = 1;      // after the version
constexpr std::size_t kAlgorithmPosition = 9;  // after the version and the key ID
constexpr int kElGamalForSigningToo = 20;

std::uint8_t ByteAt(std::string_view bytes, std::size_t position) {
  return static_cast<std::uint8_t>(bytes[position]);
}

std::size_t BigEndian(std::string_view bytes) {
  std::size_t value = 0;
  for (const char byte : bytes) value = value << 8 | static_cast<std::uint8_t>(byte);
  return value;
}

std::optional<PacketHeader> ReadOldHeader(std::string_view bytes) {
  const std::uint8_t first = ByteAt(bytes, 0);
  PacketHeader header{first >> 2 & 15, 1, std::nullopt};
  const int length_type = first & 3;
  if (length_type == 3) return header;
  const std::size_t length_bytes = std::size_t{1} << length_type;
  if (bytes.size() < 1 + length_bytes) return std::nullopt;
  header.length += length_bytes;
  header.body_length = BigEndian(bytes.substr(1, length_bytes));
  return header;
}

std::optional<PacketHeader> ReadNewHeader(std::string_view bytes) {
  if (bytes.size() < 2) return std::nullopt;
  PacketHeader header{ByteAt(bytes, 0) & 63, 2, std::nullopt};
  const std::size_t first = ByteAt(bytes, 1);
  if (first < 192) {
    header.body_length = first;
  } else if (first < 224) {
    if (bytes.size() < 3) return std::nullopt;
    header.length = 3;
    header.body_length = ((first - 192) << 8) + ByteAt(bytes, 2) + 192;
  } else if (first == 255) {
    if (bytes.size() < 6) return std::nullopt;
    header.length = 6;
    header.body_length = BigEndian(bytes.substr(2, 4));
  }
  return header;
}

// RSA, RSA for encryption only, ElGamal (two numbers of it) and ECDH: those that the library knows.
bool IsEncryptionAlgorithm(int algorithm) {
  return algorithm == 1 || algorithm == 2 || algorithm == 16 || algorithm == 18 ||
         algorithm == kElGamalForSigningToo;
}

bool IsBetween(std::string_view body, std::size_t position, int first, int last) {
  return position < body.size() && ByteAt(body, position) >= first &&
         ByteAt(body, position) <= last;
}

constexpr int kLastCipher = 13;
constexpr int kLastAeadMode = 3;

bool IsPublicKeySession(std::string_view body) {
  return body.size() > kAlgorithmPosition + 2 && body[0] == 3;
}

/// Of version 4, or 5 with an AEAD mode; a cipher and a kind of passphrase hashing that exist.
bool IsPassphraseSession(std::string_view body) {
  if (!IsBetween(body, 0, 4, 5) || !IsBetween(body, 1, 1, kLastCipher)) return false;
  return body[0] == 4 ? IsBetween(body, 2, 0, 3)
                      : IsBetween(body, 2, 1, 2) && IsBetween(body, 3, 0, 3);
}

/// Of a version that only other programs know; there was one before the one known here.
bool IsOtherSession(std::string_view body) {
  return body.size() >= 4 && IsBetween(body, 0, 2, 10);
}

/// The key ID in a session key packet of version 6: of the fingerprint of a key of version 4 its
/// end, of later ones the start. Empty when it is hidden.
std::string_view KeyIdInFingerprint(std::string_view body) {
  const std::size_t length = body[0] == 6 ? ByteAt(body, 1) : 0;
  if (length <= kKeyIdLength || body.size() < 2 + length) return {};
  const auto fingerprint = body.substr(3, length - 1);
  return body[2] == 4 ? fingerprint.substr(fingerprint.size() - kKeyIdLength)
                      : fingerprint.substr(0, kKeyIdLength);
}

bool IsIgnored(int tag) {
  return tag == kMarkerPacket || tag == kPaddingPacket || tag >= kFirstUncriticalPacket;
}

bool IsDataPacket(int tag) {
  return tag == kProtectedDataPacket || tag == kUnprotectedDataPacket ||
         tag == kAuthenticatedDataPacket;
}

enum class DataKind { kKnown, kUnknown };

/// The kind of a data packet, from its body.
DataKind KindOf(int tag, std::string_view body) {
  if (tag == kUnprotectedDataPacket || body.empty()) return DataKind::kKnown;
  const bool is_known = tag == kProtectedDataPacket || body.size() < 3 || IsBetween(body, 2, 1, 2);
  return body[0] == 1 && is_known ? DataKind::kKnown : DataKind::kUnknown;
}

/// A data packet without session keys before it says by itself that it is one: by its cipher, AEAD
/// mode and size of chunks, or by a length that fits.
bool IsDataAlone(const PacketHeader& header, std::string_view rest) {
  const auto body = rest.substr(std::min(header.length, rest.size()));
  constexpr int kLastChunkSize = 56;
  if (header.tag == kUnprotectedDataPacket || body.empty()) return false;
  if (header.tag == kProtectedDataPacket && body[0] == 1) {
    constexpr int kFirstPartialLength = 0xE9;
    return header.body_length ? *header.body_length == body.size()
                              : ByteAt(rest, 1) >= kFirstPartialLength;
  }
  return body[0] == (header.tag == kProtectedDataPacket ? 2 : 1) &&
         IsBetween(body, 1, 1, kLastCipher) && IsBetween(body, 2, 1, kLastAeadMode) &&
         IsBetween(body, 3, 0, kLastChunkSize);
}

bool IsKeyStart(int tag) {
  return tag == kPublicKeyPacket || tag == kSecretKeyPacket;
}

int HexDigit(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return digit >= 'a' && digit <= 'f' ? digit - 'a' + 10 : 0;
}

/// The header at the start of the bytes; nothing when there is none.
std::optional<PacketHeader> ReadPacketHeader(std::string_view bytes) {
  if (bytes.empty() || (ByteAt(bytes, 0) & 0x80) == 0) return std::nullopt;
  return ByteAt(bytes, 0) & 0x40 ? ReadNewHeader(bytes) : ReadOldHeader(bytes);
}

std::string HexOf(std::string_view bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const char byte : bytes) {
    text += kDigits[static_cast<std::uint8_t>(byte) >> 4];
    text += kDigits[static_cast<std::uint8_t>(byte) & 15];
  }
  return text;
}

/// Takes a session key packet into the start; false when it is none.
bool TakeSessionKey(const PacketHeader& header, std::string_view packet,
                    EncryptedMessageStart& start) {
  const auto body = packet.substr(header.length);
  if (header.tag == kPublicKeySessionPacket && IsPublicKeySession(body)) {
    const int algorithm = ByteAt(body, kAlgorithmPosition);
    const auto key_id = start.known.size() + header.length + kKeyIdPosition;
    if (IsEncryptionAlgorithm(algorithm)) {
      start.session_keys.push_back({key_id, algorithm});
      start.known += packet;
      return true;
    }
    start.unknown_key_ids.push_back(HexOf(body.substr(kKeyIdPosition, kKeyIdLength)));
  } else if (header.tag == kPassphraseSessionPacket && IsPassphraseSession(body)) {
    ++start.passphrase_packets;
    start.known += packet;
    return true;
  } else if (header.tag == kPublicKeySessionPacket && IsOtherSession(body)) {
    const auto key_id = KeyIdInFingerprint(body);
    if (!key_id.empty()) start.unknown_key_ids.push_back(HexOf(key_id));
  } else if (header.tag != kPassphraseSessionPacket || !IsOtherSession(body)) {
    return false;
  }
  start.has_unknown_method = true;
  return true;
}

}  // namespace

std::optional<EncryptedMessageStart> ReadEncryptedMessageStart(std::string_view bytes) {
  EncryptedMessageStart start;
  bool has_session_key = false;
  for (;;) {
    const std::string_view rest = bytes.substr(start.length);
    const auto header = ReadPacketHeader(rest);
    if (!header) return std::nullopt;
    if (IsDataPacket(header->tag)) {
      if (!has_session_key && !IsDataAlone(*header, rest)) return std::nullopt;
      start.has_unknown_data =
          KindOf(header->tag, rest.substr(std::min(header->length, rest.size()))) ==
          DataKind::kUnknown;
      return start;
    }
    if (!header->body_length || *header->body_length > rest.size() - header->length) {
      return std::nullopt;
    }
    const auto packet = rest.substr(0, header->length + *header->body_length);
    if (!IsIgnored(header->tag)) {
      if (!TakeSessionKey(*header, packet, start)) return std::nullopt;
      has_session_key = true;
    }
    start.length += packet.size();
  }
}

bool BeginsWithSessionKey(std::string_view bytes) {
  for (;;) {
    const auto header = ReadPacketHeader(bytes);
    if (!header || !header->body_length || *header->body_length > bytes.size() - header->length) {
      return false;
    }
    const auto packet = bytes.substr(0, header->length + *header->body_length);
    EncryptedMessageStart start;
    if (!IsIgnored(header->tag)) {
      return TakeSessionKey(*header, packet, start) && !start.has_unknown_method;
    }
    bytes.remove_prefix(packet.size());
  }
}

bool BeginsUnencrypted(std::string_view bytes) {
  constexpr int kOnePassSignaturePacket = 4;
  constexpr int kCompressedPacket = 8;
  constexpr int kLiteralPacket = 11;
  for (;;) {
    const auto header = ReadPacketHeader(bytes);
    if (!header) return false;
    switch (header->tag) {
      case kSignaturePacket:
      case kOnePassSignaturePacket:
      case kCompressedPacket:
      case kLiteralPacket:
        return true;
      default:
        if (!IsIgnored(header->tag) || !header->body_length ||
            *header->body_length >= bytes.size() - header->length) {
          return false;
        }
        bytes.remove_prefix(header->length + *header->body_length);
    }
  }
}

std::string KeyIdBytes(std::string_view key_id) {
  std::string id;
  for (std::size_t i = 0; i + 1 < key_id.size(); i += 2) {
    id += static_cast<char>(HexDigit(key_id[i]) << 4 | HexDigit(key_id[i + 1]));
  }
  return id;
}

std::string KeyIdOf(std::string_view message, const SessionKeyPacket& packet) {
  return HexOf(message.substr(packet.key_id_offset, kKeyIdLength));
}

bool IsHidden(std::string_view message, const SessionKeyPacket& packet) {
  return std::ranges::all_of(message.substr(packet.key_id_offset, kKeyIdLength),
                             [](char byte) { return byte == 0; });
}

bool HideRecipients(std::string& message) {
  const auto start = ReadEncryptedMessageStart(message);
  if (!start || start->known.size() != start->length) return false;
  for (const auto& packet : start->session_keys) {
    message.replace(packet.key_id_offset, kKeyIdLength, kKeyIdLength, '\0');
  }
  return true;
}

bool RevealRecipients(std::string& message_start, const EncryptedMessageStart& start, int algorithm,
                      std::string_view key_id) {
  const std::string id = KeyIdBytes(key_id);
  bool revealed = false;
  for (const auto& packet : start.session_keys) {
    if (packet.algorithm != algorithm || !IsHidden(message_start, packet)) continue;
    message_start.replace(packet.key_id_offset, kKeyIdLength, id);
    revealed = true;
  }
  return revealed;
}

namespace {

/// Calls `visit(tag, packet, body)` for each whole packet.
template <typename Visit>
void ForEachPacket(std::string_view packets, Visit visit) {
  while (const auto header = ReadPacketHeader(packets)) {
    if (!header->body_length || *header->body_length > packets.size() - header->length) return;
    const auto length = header->length + *header->body_length;
    visit(header->tag, packets.substr(0, length),
          packets.substr(header->length, *header->body_length));
    packets.remove_prefix(length);
  }
}

bool IsKeyRevocation(int tag, std::string_view body) {
  constexpr int kKeyRevocation = 0x20;
  if (tag != kSignaturePacket || body.size() < 3) return false;
  return ByteAt(body, body[0] == 3 ? 2 : 1) == kKeyRevocation;
}

std::optional<KeyPart::Kind> PartThatBegins(int tag) {
  switch (tag) {
    case kPublicKeyPacket:
    case kSecretKeyPacket:
      return KeyPart::Kind::kPrimary;
    case kUserIdPacket:
    case kUserAttributePacket:
      return KeyPart::Kind::kUserId;
    case kPublicSubkeyPacket:
    case kSecretSubkeyPacket:
      return KeyPart::Kind::kSubkey;
    default:
      return std::nullopt;
  }
}

}  // namespace

std::string WithoutIgnoredPackets(std::string_view packets) {
  std::string rest;
  std::size_t read = 0;
  ForEachPacket(packets, [&](int tag, std::string_view packet, std::string_view) {
    if (!IsIgnored(tag)) rest += packet;
    read += packet.size();
  });
  return rest.append(packets.substr(read));
}

std::vector<KeyPart> SplitKey(std::string_view key) {
  std::vector<KeyPart> parts;
  ForEachPacket(key, [&](int tag, std::string_view packet, std::string_view) {
    if (const auto kind = PartThatBegins(tag)) {
      parts.push_back({*kind, packet});
    } else if (!parts.empty()) {
      auto& bytes = parts.back().bytes;
      bytes = std::string_view(bytes.data(), bytes.size() + packet.size());
    }
  });
  return parts;
}

std::string_view FirstPacket(std::string_view key) {
  const auto header = ReadPacketHeader(key);
  if (!header || !header->body_length) return {};
  return key.substr(0, header->length + *header->body_length);
}

std::string_view FirstBody(std::string_view key) {
  const auto header = ReadPacketHeader(key);
  return header ? FirstPacket(key).substr(header->length) : std::string_view();
}

std::vector<std::string_view> KeyRevocations(std::string_view keys) {
  std::vector<std::string_view> revocations;
  ForEachPacket(keys, [&](int tag, std::string_view packet, std::string_view body) {
    if (IsKeyRevocation(tag, body)) revocations.push_back(packet);
  });
  return revocations;
}

std::string WithRevocationsFirst(std::string_view key) {
  std::string primary;
  std::string revocations;
  std::string rest;
  ForEachPacket(key, [&](int tag, std::string_view packet, std::string_view body) {
    (primary.empty() ? primary : IsKeyRevocation(tag, body) ? revocations : rest) += packet;
  });
  return primary + revocations + rest;
}

std::vector<std::string_view> SecretPackets(std::string_view key) {
  std::vector<std::string_view> bodies;
  ForEachPacket(key, [&](int tag, std::string_view, std::string_view body) {
    if (tag == kSecretKeyPacket || tag == kSecretSubkeyPacket) bodies.push_back(body);
  });
  return bodies;
}

bool HoldsSecretKeys(std::string_view key) {
  return !SecretPackets(key).empty();
}

bool IsStubPacket(std::string_view secret_body) {
  return secret_body.ends_with("GNU\1");
}

std::vector<RingPiece> SplitKeyRing(std::string_view ring, bool& damaged) {
  std::vector<RingPiece> keys;
  std::size_t position = 0;
  damaged = false;
  while (position < ring.size()) {
    const auto header = ReadPacketHeader(ring.substr(position));
    if (!header || !header->body_length ||
        *header->body_length > ring.size() - position - header->length ||
        (keys.empty() && !IsKeyStart(header->tag))) {
      damaged = true;
      break;
    }
    if (IsKeyStart(header->tag)) keys.push_back({position, 0, 0});
    position += header->length + *header->body_length;
    keys.back().length = position - keys.back().offset;
    ++keys.back().packets;
  }
  return keys;
}

}  // namespace corvessa::engine
