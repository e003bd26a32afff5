#include "crypto/signature_content.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>

#include "base/guard.h"
#include "base/text.h"
#include "crypto/signature_packets.h"
#include "platform/files.h"
#include "platform/host.h"

namespace corvessa {
namespace {

/// More than the largest keys make.
constexpr std::int64_t kLargest = 64 * 1024;

constexpr std::string_view kBlanks = " \t\r\n";

/// Takes off the first line, without its end and the blanks before that.
std::string_view TakeLine(std::string_view& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return line.substr(0, line.find_last_not_of(" \t\r") + 1);
}

bool IsArmourHeader(std::string_view line) {
  constexpr std::string_view kNames[] = {"Version", "Comment", "MessageID", "Hash", "Charset"};
  return std::ranges::find(kNames, line.substr(0, line.find(": "))) != std::end(kNames);
}

/// Six bits; more for what is no base64.
unsigned Base64Value(char c) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  return static_cast<unsigned>(std::min(kDigits.find(c), kDigits.size()));
}

/// Nothing unless every line holds base64, with padding at most in the last one.
std::string DecodeBase64(std::string_view text) {
  std::string bytes;
  unsigned bits = 0;
  int count = 0;
  bool is_padded = false;
  while (!text.empty()) {
    for (const char c : TakeLine(text)) {
      const unsigned value = Base64Value(c);
      is_padded = is_padded || c == '=';
      if (is_padded && c != '=') return {};
      if (is_padded) continue;
      if (value > 63) return {};
      bits = bits << 6 | value;
      count += 6;
      if (count < 8) continue;
      count -= 8;
      bytes += static_cast<char>(bits >> count & 0xFF);
    }
  }
  return bytes;
}

/// RFC 9580, 6.2: header lines, a blank line, base64, and perhaps a line with a checksum.
bool IsArmouredSignature(std::string_view text) {
  constexpr std::string_view kBegin = "-----BEGIN PGP SIGNATURE-----";
  constexpr std::string_view kEnd = "-----END PGP SIGNATURE-----";
  constexpr std::size_t kChecksumLength = 5;
  std::string_view block = Trim(text, kBlanks);
  if (!block.ends_with(kEnd) || TakeLine(block) != kBegin) return false;
  block.remove_suffix(kEnd.size());
  std::string_view header = TakeLine(block);
  for (; IsArmourHeader(header); header = TakeLine(block)) {
  }
  if (!header.empty()) return false;
  block = Trim(block, kBlanks);
  const std::size_t last = block.rfind('\n') + 1;
  if (block.substr(last).starts_with('=') && block.size() - last == kChecksumLength) {
    block.remove_suffix(kChecksumLength);
  }
  return AreSignaturePackets(DecodeBase64(block));
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
