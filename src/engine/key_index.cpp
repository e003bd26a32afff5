#include "engine/key_index.h"

#include <charconv>
#include <utility>

namespace corvessa::engine {
namespace {

constexpr std::string_view kTitle = "corvessa key index 1";

/// FNV-1a: quick, and damage is all that it has to notice.
std::uint64_t Checksum(std::string_view text) {
  std::uint64_t sum = 0xcbf29ce484222325U;
  for (const char c : text) {
    sum ^= static_cast<std::uint8_t>(c);
    sum *= 0x100000001b3U;
  }
  return sum;
}

std::string Joined(const std::vector<std::string>& items) {
  std::string joined;
  for (const auto& item : items) {
    if (!joined.empty()) joined += ',';
    joined += item;
  }
  return joined;
}

/// Cuts the part before the separator off the front of the text.
std::string_view Cut(std::string_view& text, char separator) {
  const auto end = text.find(separator);
  const auto part = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return part;
}

bool ReadItems(std::string_view text, std::vector<std::string>& items) {
  if (text.ends_with(',')) return false;
  while (!text.empty()) {
    if (items.emplace_back(Cut(text, ',')).empty()) return false;
  }
  return true;
}

template <typename Number>
bool Read(std::string_view text, Number& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

std::string FormatStamp(std::string_view name, const RingStamp& stamp) {
  return std::string(name) + '\t' + std::to_string(stamp.size) + '\t' +
         std::to_string(stamp.modified_ns) + '\t' + std::to_string(stamp.file_number) + '\n';
}

bool ReadStamp(std::string_view line, std::string_view name, RingStamp& stamp) {
  return Cut(line, '\t') == name && Read(Cut(line, '\t'), stamp.size) &&
         Read(Cut(line, '\t'), stamp.modified_ns) && Read(line, stamp.file_number);
}

std::string FormatEntry(const RingEntry& entry) {
  return std::string(entry.secret ? "secret" : "public") + '\t' + std::to_string(entry.offset) +
         '\t' + std::to_string(entry.length) + '\t' + entry.facts.fingerprint + '\t' +
         Joined(entry.facts.key_ids) + '\t' + Joined(entry.facts.addresses) + '\n';
}

bool ReadEntry(std::string_view line, const KeyIndex& index, RingEntry& entry) {
  const auto ring = Cut(line, '\t');
  entry.secret = ring == "secret";
  if (!entry.secret && ring != "public") return false;
  if (!Read(Cut(line, '\t'), entry.offset) || !Read(Cut(line, '\t'), entry.length)) return false;
  entry.facts.fingerprint = Cut(line, '\t');
  if (!ReadItems(Cut(line, '\t'), entry.facts.key_ids) || !ReadItems(line, entry.facts.addresses)) {
    return false;
  }
  const std::uint64_t size = (entry.secret ? index.secret_ring : index.public_ring).size;
  return entry.offset <= size && entry.length <= size - entry.offset;
}

}  // namespace

std::string WithChecksum(std::string text) {
  const auto sum = Checksum(text);
  text += "checksum\t" + std::to_string(sum) + '\n';
  return text;
}

std::string FormatKeyIndex(const KeyIndex& index) {
  std::string text(kTitle);
  text += '\n';
  text += FormatStamp("public ring", index.public_ring);
  text += FormatStamp("secret ring", index.secret_ring);
  for (const auto& entry : index.entries) text += FormatEntry(entry);
  return WithChecksum(std::move(text));
}

std::optional<KeyIndex> ParseKeyIndex(std::string_view text) {
  const auto last_line = text.rfind("checksum\t");
  std::uint64_t checksum = 0;
  if (last_line == std::string_view::npos || !text.ends_with('\n') ||
      !Read(text.substr(last_line + 9, text.size() - last_line - 10), checksum) ||
      checksum != Checksum(text.substr(0, last_line))) {
    return std::nullopt;
  }
  text = text.substr(0, last_line);
  KeyIndex index;
  if (Cut(text, '\n') != kTitle || !ReadStamp(Cut(text, '\n'), "public ring", index.public_ring) ||
      !ReadStamp(Cut(text, '\n'), "secret ring", index.secret_ring)) {
    return std::nullopt;
  }
  while (!text.empty()) {
    if (!ReadEntry(Cut(text, '\n'), index, index.entries.emplace_back())) return std::nullopt;
  }
  return index;
}

}  // namespace corvessa::engine
