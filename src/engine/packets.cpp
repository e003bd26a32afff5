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

// RSA, RSA for encryption only, ElGamal (two numbers of it) and ECDH.
bool IsEncryptionAlgorithm(int algorithm) {
  return algorithm == 1 || algorithm == 2 || algorithm == 16 || algorithm == 18 ||
         algorithm == kElGamalForSigningToo;
}

bool IsPublicKeySession(std::string_view body) {
  return body.size() > kAlgorithmPosition + 2 && body[0] == 3 &&
         IsEncryptionAlgorithm(ByteAt(body, kAlgorithmPosition));
}

// Version 4, a cipher and a kind of passphrase hashing that exist.
bool IsPassphraseSession(std::string_view body) {
  return body.size() >= 4 && body[0] == 4 && ByteAt(body, 1) >= 1 && ByteAt(body, 1) <= 13 &&
         ByteAt(body, 2) <= 3;
}

bool IsMarker(std::string_view body) {
  return body == "PGP";
}

bool IsDataPacket(int tag) {
  return tag == kProtectedDataPacket || tag == kUnprotectedDataPacket;
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

}  // namespace

std::optional<EncryptedMessageStart> ReadEncryptedMessageStart(std::string_view bytes) {
  EncryptedMessageStart start;
  bool has_session_key = false;
  for (;;) {
    const std::string_view rest = bytes.substr(start.length);
    const auto header = ReadPacketHeader(rest);
    if (!header) return std::nullopt;
    if (IsDataPacket(header->tag)) return has_session_key ? std::optional(start) : std::nullopt;
    if (!header->body_length || *header->body_length > rest.size() - header->length) {
      return std::nullopt;
    }
    const std::string_view body = rest.substr(header->length, *header->body_length);
    if (header->tag == kPublicKeySessionPacket && IsPublicKeySession(body)) {
      start.session_keys.push_back(
          {start.length + header->length + kKeyIdPosition, ByteAt(body, kAlgorithmPosition)});
      has_session_key = true;
    } else if (header->tag == kPassphraseSessionPacket && IsPassphraseSession(body)) {
      has_session_key = true;
    } else if (header->tag != kMarkerPacket || !IsMarker(body)) {
      return std::nullopt;
    }
    start.length += header->length + body.size();
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
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string id;
  for (const char byte : message.substr(packet.key_id_offset, kKeyIdLength)) {
    id += kDigits[static_cast<std::uint8_t>(byte) >> 4];
    id += kDigits[static_cast<std::uint8_t>(byte) & 15];
  }
  return id;
}

bool IsHidden(std::string_view message, const SessionKeyPacket& packet) {
  return std::ranges::all_of(message.substr(packet.key_id_offset, kKeyIdLength),
                             [](char byte) { return byte == 0; });
}

bool HideRecipients(std::string& message) {
  const auto start = ReadEncryptedMessageStart(message);
  if (!start) return false;
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
