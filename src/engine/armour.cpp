#include "engine/armour.h"

#include <array>
#include <cstdint>

#include "engine/rnp_streams.h"
#include "engine/status.h"

namespace corvessa::engine {
namespace {

/// Where a line that is exactly `line` (blanks after it allowed) starts; npos when there is none.
std::size_t FindLine(std::string_view text, std::string_view line, std::size_t from) {
  for (auto at = text.find(line, from); at != std::string_view::npos;
       at = text.find(line, at + 1)) {
    const bool starts_line = at == 0 || text[at - 1] == '\n' || text[at - 1] == '\r';
    const auto rest = text.find_first_not_of(" \t", at + line.size());
    const bool ends_line =
        rest == std::string_view::npos || text[rest] == '\n' || text[rest] == '\r';
    if (starts_line && ends_line) return at;
  }
  return std::string_view::npos;
}

/// As gpg has it. Quoted-printable breaks a line of the library's own 76.
constexpr std::size_t kLineLength = 64;

constexpr std::uint32_t kCrcStart = 0xb704ce;
constexpr std::uint32_t kCrcPolynomial = 0x864cfb;

constexpr std::array<std::uint32_t, 256> MakeCrcTable() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
    std::uint32_t crc = byte << 16;
    for (int bit = 0; bit < 8; ++bit) crc = crc << 1 ^ (crc & 0x800000 ? kCrcPolynomial : 0);
    table[byte] = crc & 0xffffff;
  }
  return table;
}

std::uint32_t Crc24(std::string_view bytes) {
  static constexpr auto kTable = MakeCrcTable();
  std::uint32_t crc = kCrcStart;
  for (const char byte : bytes) {
    crc = (crc << 8 ^ kTable[(crc >> 16 ^ static_cast<std::uint8_t>(byte)) & 0xff]) & 0xffffff;
  }
  return crc;
}

std::string Base64(std::uint32_t three_bytes) {
  static constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (int shift = 18; shift >= 0; shift -= 6) text += kDigits[three_bytes >> shift & 63];
  return text;
}

constexpr std::string_view kChecksumStart = "\n=";

/// The block's checksum line, if it has one, is that of the bytes. The library does not look at it.
bool ChecksumFits(std::string_view block, std::string_view bytes) {
  const auto line = block.rfind(kChecksumStart);
  return line == std::string_view::npos || block.substr(line + 2, 4) == Base64(Crc24(bytes));
}

/// Newer programs leave the line out. Then the library takes the last line for a padding that is
/// wrong, unless there is one.
std::string WithChecksumLine(std::string_view block) {
  std::string text(block);
  const auto end = text.rfind("\n-----END");
  if (end == std::string::npos || text.rfind(kChecksumStart) != std::string::npos) return text;
  return text.insert(end, "\n=AAAA");
}

}  // namespace

std::optional<ArmourBlock> FindArmour(std::string_view text, std::string_view kind) {
  const std::string marks[] = {"-----BEGIN PGP " + std::string(kind) + "-----",
                               "-----END PGP " + std::string(kind) + "-----"};
  const auto begin = FindLine(text, marks[0], 0);
  if (begin == std::string_view::npos) return std::nullopt;
  auto end = FindLine(text, marks[1], begin);
  end = end == std::string_view::npos ? text.size() : end + marks[1].size();
  return ArmourBlock{text.substr(0, begin), text.substr(begin, end - begin), text.substr(end)};
}

std::string Dearmour(std::string_view block) {
  const std::string checked = WithChecksumLine(block);
  TextSource source(checked);
  TextSink sink;
  const Stream stream(source, sink);
  const auto result = rnp_dearmor(stream.input(), stream.output());
  stream.Rethrow();
  if (result != RNP_SUCCESS) Fail(kBadContent, "The OpenPGP armour is damaged.");
  stream.Finish(result);
  if (!ChecksumFits(block, sink.text)) {
    Fail(kBadContent, "The checksum of the OpenPGP armour is wrong.");
  }
  return std::move(sink.text);
}

std::string Armour(std::string_view bytes, const char* type, std::string_view version) {
  TextSource nothing{{}};
  TextSink sink;
  const Stream stream(nothing, sink);
  {
    rnp_output_t made = nullptr;
    Check(rnp_output_to_armor(stream.output(), &made, type));
    const Output armour(made);
    Check(rnp_output_armor_set_line_length(armour.get(), kLineLength));
    std::size_t written = 0;
    Check(rnp_output_write(armour.get(), bytes.data(), bytes.size(), &written));
    stream.Finish(rnp_output_finish(armour.get()));
  }
  if (!version.empty()) {
    sink.text.insert(sink.text.find('\n') + 1, "Version: " + std::string(version) + "\r\n");
  }
  return std::move(sink.text);
}

}  // namespace corvessa::engine
