#include "crypto/signature_content.h"

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/guard.h"
#include "base/text.h"
#include "platform/files.h"
#include "platform/host.h"

namespace corvessa {
namespace {

/// More than the largest keys make.
constexpr std::int64_t kLargest = 64 * 1024;

bool IsArmouredSignature(std::string_view text) {
  constexpr std::string_view kBegin = "-----BEGIN PGP SIGNATURE-----";
  constexpr std::string_view kEnd = "-----END PGP SIGNATURE-----";
  const std::string_view block = Trim(text, " \t\r\n");
  return block.size() > kBegin.size() + kEnd.size() && block.starts_with(kBegin) &&
         block.ends_with(kEnd) && block.find(kEnd) == block.size() - kEnd.size();
}

std::size_t Number(std::string_view bytes) {
  std::size_t number = 0;
  for (const char byte : bytes) number = number << 8 | static_cast<unsigned char>(byte);
  return number;
}

/// Takes off a packet's length, which takes `width` bytes, and a signature's body.
bool TakeBody(std::string_view& bytes, std::size_t width, std::size_t length) {
  constexpr char kFirstVersion = 3;
  constexpr char kLastVersion = 6;
  if (length == 0 || bytes.size() < width + length || bytes[width] < kFirstVersion ||
      bytes[width] > kLastVersion) {
    return false;
  }
  bytes.remove_prefix(width + length);
  return true;
}

// RFC 4880, 4.2: a packet of tag 2, its length in the old or the new form.
bool TakeSignaturePacket(std::string_view& rest) {
  if (rest.size() < 6) return false;
  const auto tag = static_cast<unsigned char>(rest[0]);
  rest.remove_prefix(1);
  const std::size_t first = Number(rest.substr(0, 1));
  if (tag == 0x88) return TakeBody(rest, 1, first);
  if (tag == 0x89) return TakeBody(rest, 2, Number(rest.substr(0, 2)));
  if (tag == 0x8A) return TakeBody(rest, 4, Number(rest.substr(0, 4)));
  if (tag != 0xC2) return false;
  if (first < 192) return TakeBody(rest, 1, first);
  if (first < 224) return TakeBody(rest, 2, ((first - 192) << 8) + Number(rest.substr(1, 1)) + 192);
  return first == 255 && TakeBody(rest, 5, Number(rest.substr(1, 4)));
}

/// One after the other, one for each signer.
bool AreSignaturePackets(std::string_view bytes) {
  if (bytes.empty()) return false;
  while (!bytes.empty()) {
    if (!TakeSignaturePacket(bytes)) return false;
  }
  return true;
}

}  // namespace

bool IsSignatureContent(std::string_view bytes) {
  return IsArmouredSignature(bytes) || AreSignaturePackets(bytes);
}

bool HoldsSignature(std::string_view path) {
  platform::Files& files = platform::Host().files;
  return files.Length(path) <= kLargest && IsSignatureContent(files.Read(path));
}

bool HoldsReadableSignature(std::string_view path) {
  return Guarded(":HoldsReadableSignature - ", false, [&] { return HoldsSignature(path); });
}

}  // namespace corvessa
