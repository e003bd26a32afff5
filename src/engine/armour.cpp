#include "engine/armour.h"

#include <algorithm>

#include "base/text.h"
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

constexpr std::string_view kDashes = "-----";
constexpr std::string_view kBlanks = " \t\r\n";
// The longest of a header; base64 that lacks the empty line before it may be longer.
constexpr std::size_t kLongestLine = 4096;

int DigitOf(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  return c == '+' ? 62 : c == '/' ? 63 : -1;
}

bool IsBlank(std::string_view text) {
  return text.find_first_not_of(kBlanks) == std::string_view::npos;
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

void ArmourReader::Write(std::string_view piece) {
  for (const char c : piece) {
    if (place_ == Place::kBefore || place_ == Place::kHeaders) {
      TakeHeaderByte(c);
    } else if (place_ == Place::kContent) {
      TakeContentByte(c);
    } else if (place_ == Place::kAfterContent && c == '-') {
      place_ = Place::kEnd;
    }
  }
  sink_.Write(bytes_);
  bytes_.clear();
}

void ArmourReader::TakeHeaderByte(char c) {
  line_ += c;
  if (c != '\n' && line_.size() < kLongestLine) return;
  const std::string line = std::exchange(line_, {});
  if (place_ == Place::kBefore) {
    if (line.starts_with(kDashes)) place_ = Place::kHeaders;
  } else if (IsBlank(line)) {
    place_ = Place::kContent;
  } else if (line.find(':') == std::string::npos) {
    // The empty line is missing, or it is a lone CR.
    place_ = Place::kContent;
    for (const char content : line) TakeContentByte(content);
  }
}

void ArmourReader::TakeContentByte(char c) {
  const int digit = DigitOf(c);
  if (digit >= 0) {
    bits_ = bits_ << 6 | static_cast<std::uint32_t>(digit);
    bit_count_ += 6;
    if (bit_count_ < 8) return;
    bit_count_ -= 8;
    bytes_ += static_cast<char>(bits_ >> bit_count_ & 0xff);
  } else if (c == '=' || c == '-') {
    // Of a last group of four digits one alone is none.
    is_damaged_ = is_damaged_ || bit_count_ == 6;
    place_ = c == '=' ? Place::kAfterContent : Place::kEnd;
  } else {
    is_damaged_ = is_damaged_ || kBlanks.find(c) == std::string_view::npos;
  }
}

std::string Dearmour(std::string_view block) {
  TextSink sink;
  ArmourReader reader(sink);
  reader.Write(block);
  if (!reader.IsWhole()) {
    Fail(kBadContent, "The OpenPGP armour is damaged.", {trouble::kDamaged, {}, {}});
  }
  return std::move(sink.text);
}

std::string ArmourHeader(std::string_view block, std::string_view name) {
  block.remove_prefix(std::min(block.find('\n'), block.size() - 1) + 1);
  while (!block.empty()) {
    const auto length = std::min(block.find('\n'), block.size() - 1) + 1;
    const auto line = block.substr(0, length);
    if (IsBlank(line)) break;
    const auto colon = line.find(':');
    if (colon != std::string_view::npos && LCase(line.substr(0, colon)) == LCase(name)) {
      const auto value = line.substr(colon + 1);
      const auto first = std::min(value.find_first_not_of(kBlanks), value.size());
      const auto last = value.find_last_not_of(kBlanks);
      return std::string(value.substr(first, last + 1 - first));
    }
    block.remove_prefix(length);
  }
  return {};
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
