#include <cstddef>

#include "engine/packets.h"

namespace corvessa::engine {
namespace {

/// Takes fields off the front of some bytes. Once one is missing, all that follow are.
class Fields {
 public:
  explicit Fields(std::string_view bytes) : rest_(bytes) {}

  std::string_view Take(std::size_t length) {
    is_whole_ = is_whole_ && length <= rest_.size();
    if (!is_whole_) return {};
    const std::string_view field = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return field;
  }

  std::size_t Number(std::size_t width) {
    std::size_t number = 0;
    for (const char byte : Take(width)) number = number << 8 | static_cast<unsigned char>(byte);
    return number;
  }

  void Reject() { is_whole_ = false; }
  /// Nothing is missing, and there is more.
  bool HasMore() const { return is_whole_ && !rest_.empty(); }
  bool AreComplete() const { return is_whole_ && rest_.empty(); }

 private:
  std::string_view rest_;
  bool is_whole_ = true;
};

// RFC 9580, 4.2.1.2 and 5.2.3.7: the lengths of packets in the new form and of subpackets; where
// the second byte is counted in begins with 192, and ends with `last`.
std::size_t Length(Fields& fields, std::size_t last) {
  const std::size_t first = fields.Number(1);
  if (first < 192) return first;
  if (first <= last) return ((first - 192) << 8) + fields.Number(1) + 192;
  if (first < 255) fields.Reject();
  return fields.Number(4);
}

void TakeSubpackets(Fields& fields, std::size_t width) {
  Fields subpackets(fields.Take(fields.Number(width)));
  while (subpackets.HasMore()) {
    const std::string_view subpacket = subpackets.Take(Length(subpackets, 254));
    if (subpacket.empty()) subpackets.Reject();
  }
  if (!subpackets.AreComplete()) fields.Reject();
}

/// A number after the count of its bits.
void TakeMpi(Fields& fields) {
  const std::size_t bits = fields.Number(2);
  const std::string_view bytes = fields.Take((bits + 7) / 8);
  if (bytes.empty() || static_cast<unsigned char>(bytes[0]) >> ((bits - 1) % 8) != 1) {
    fields.Reject();
  }
}

void TakeSignatureOf(std::size_t algorithm, Fields& fields) {
  switch (algorithm) {
    case 17:  // DSA
    case 19:  // ECDSA
    case 22:  // EdDSA
      TakeMpi(fields);
      [[fallthrough]];
    case 1:  // RSA
    case 3:
      return TakeMpi(fields);
    case 27:  // Ed25519
      fields.Take(64);
      return;
    case 28:  // Ed448
      fields.Take(114);
      return;
    default:
      fields.Reject();
  }
}

void RejectUnlessOfDocument(std::size_t type, Fields& fields) {
  constexpr std::size_t kText = 1;
  if (type > kText) fields.Reject();
}

void TakeOldSignature(Fields& fields) {
  constexpr std::size_t kHashedLength = 5;
  constexpr std::size_t kTimeAndKeyId = 12;
  if (fields.Number(1) != kHashedLength) fields.Reject();
  RejectUnlessOfDocument(fields.Number(1), fields);
  fields.Take(kTimeAndKeyId);
  const std::size_t algorithm = fields.Number(1);
  fields.Take(3);  // the hash and its first bytes
  TakeSignatureOf(algorithm, fields);
}

void TakeSignature(std::size_t version, Fields& fields) {
  constexpr std::size_t kWithSalt = 6;
  const std::size_t width = version == kWithSalt ? 4 : 2;
  RejectUnlessOfDocument(fields.Number(1), fields);
  const std::size_t algorithm = fields.Number(1);
  fields.Take(1);  // which hash
  TakeSubpackets(fields, width);
  TakeSubpackets(fields, width);
  fields.Take(2);  // the hash's first bytes
  if (version == kWithSalt) fields.Take(fields.Number(1));
  TakeSignatureOf(algorithm, fields);
}

bool IsSignatureBody(std::string_view body) {
  Fields fields(body);
  const std::size_t version = fields.Number(1);
  if (version == 3) {
    TakeOldSignature(fields);
  } else if (version >= 4 && version <= 6) {
    TakeSignature(version, fields);
  } else {
    fields.Reject();
  }
  return fields.AreComplete();
}

/// The body of a packet of tag 2, its length in the old or the new form.
std::string_view TakeBody(Fields& fields) {
  switch (fields.Number(1)) {
    case 0x88:
      return fields.Take(fields.Number(1));
    case 0x89:
      return fields.Take(fields.Number(2));
    case 0x8A:
      return fields.Take(fields.Number(4));
    case 0xC2:
      return fields.Take(Length(fields, 223));
    default:
      return {};
  }
}

}  // namespace

bool AreSignatures(std::string_view bytes) {
  Fields packets(bytes);
  do {
    if (!IsSignatureBody(TakeBody(packets))) return false;
  } while (packets.HasMore());
  return packets.AreComplete();
}

}  // namespace corvessa::engine
