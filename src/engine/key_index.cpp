#include "engine/key_index.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <rnp/rnp.h>
#include <utility>

namespace corvessa::engine {
namespace {

/// So many scans take about as long as making a table.
constexpr int kScans = 16;

std::string Title() {
  return std::string("corvessa key index 2, librnp ") + rnp_version_string();
}

/// FNV-1a over words, whose bits it mixes in both directions: quick, and damage is all that it has
/// to notice.
std::uint64_t Checksum(std::string_view text) {
  std::uint64_t sum = 0xcbf29ce484222325U ^ text.size();
  while (!text.empty()) {
    std::uint64_t word = 0;
    const std::size_t size = std::min(text.size(), sizeof word);
    std::memcpy(&word, text.data(), size);
    sum = (sum ^ word) * 0x100000001b3U;
    sum ^= sum >> 32;
    text.remove_prefix(size);
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

template <typename Number>
bool Read(std::string_view text, Number& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

std::string FormatStamp(std::string_view name, const system::FileStamp& stamp) {
  return std::string(name) + '\t' + std::to_string(stamp.size) + '\t' +
         std::to_string(stamp.modified_ns) + '\t' + std::to_string(stamp.file_number) + '\n';
}

bool ReadStamp(std::string_view line, std::string_view name, system::FileStamp& stamp) {
  return Cut(line, '\t') == name && Read(Cut(line, '\t'), stamp.size) &&
         Read(Cut(line, '\t'), stamp.modified_ns) && Read(line, stamp.file_number);
}

bool ReadEntry(std::string_view line, RingEntry& entry) {
  const auto ring = Cut(line, '\t');
  entry.secret = ring == "secret";
  if (!entry.secret && ring != "public") return false;
  if (!Read(Cut(line, '\t'), entry.offset) || !Read(Cut(line, '\t'), entry.length)) return false;
  entry.fingerprint = Cut(line, '\t');
  entry.key_ids = Cut(line, '\t');
  entry.addresses = Cut(line, '\t');
  entry.info = line;
  return true;
}

}  // namespace

bool Lists(std::string_view joined, std::string_view item) {
  while (joined.size() >= item.size() && !joined.empty()) {
    if (Cut(joined, ',') == item) return true;
  }
  return false;
}

std::string IndexLine(const RingEntry& entry) {
  std::string line(entry.secret ? "secret" : "public");
  for (const auto number : {entry.offset, entry.length}) line += '\t' + std::to_string(number);
  for (const auto text : {entry.fingerprint, entry.key_ids, entry.addresses, entry.info}) {
    line += '\t';
    line += text;
  }
  return line + '\n';
}

std::string IndexLine(bool secret, std::uint64_t offset, std::uint64_t length,
                      const KeyFacts& facts, std::string_view info) {
  return IndexLine({secret, offset, length, facts.fingerprint, Joined(facts.key_ids),
                    Joined(facts.addresses), info});
}

std::string WithChecksum(std::string text) {
  const auto sum = Checksum(text);
  text += "checksum\t" + std::to_string(sum) + '\n';
  return text;
}

KeyIndex::KeyIndex(system::FileStamp public_ring, system::FileStamp secret_ring, std::string lines)
    : public_ring_(public_ring),
      secret_ring_(secret_ring),
      text_(std::make_shared<const std::string>(std::move(lines))) {
  ReadEntries(*text_);
}

bool KeyIndex::ReadEntries(std::string_view lines) {
  while (!lines.empty()) {
    auto& entry = entries_.emplace_back();
    if (!ReadEntry(Cut(lines, '\n'), entry)) return false;
    const std::uint64_t size = (entry.secret ? secret_ring_ : public_ring_).size;
    if (entry.offset > size || entry.length > size - entry.offset) return false;
  }
  return true;
}

KeyIndex::Found KeyIndex::Find(Lookup& lookup, std::string_view item) const {
  Found found;
  if (lookup.questions++ < kScans) {
    for (const auto& entry : entries_) {
      if (Lists(entry.*lookup.list, item)) found.push_back(&entry);
    }
    return found;
  }
  if (lookup.table.empty()) {
    for (const auto& entry : entries_) {
      for (auto rest = entry.*lookup.list; !rest.empty();) {
        auto& entries = lookup.table[Cut(rest, ',')];
        if (entries.empty() || entries.back() != &entry) entries.push_back(&entry);
      }
    }
  }
  const auto known = lookup.table.find(item);
  return known == lookup.table.end() ? found : known->second;
}

std::optional<KeyIndex> KeyIndex::Parse(std::string text) {
  KeyIndex index;
  index.text_ = std::make_shared<const std::string>(std::move(text));
  std::string_view rest = *index.text_;
  const auto last_line = rest.rfind("checksum\t");
  std::uint64_t checksum = 0;
  if (last_line == std::string_view::npos || !rest.ends_with('\n') ||
      !Read(rest.substr(last_line + 9, rest.size() - last_line - 10), checksum) ||
      checksum != Checksum(rest.substr(0, last_line))) {
    return std::nullopt;
  }
  rest = rest.substr(0, last_line);
  if (Cut(rest, '\n') != Title() ||
      !ReadStamp(Cut(rest, '\n'), "public ring", index.public_ring_) ||
      !ReadStamp(Cut(rest, '\n'), "secret ring", index.secret_ring_) || !index.ReadEntries(rest)) {
    return std::nullopt;
  }
  return index;
}

std::string KeyIndex::Format() const {
  std::string text = Title();
  text += '\n';
  text += FormatStamp("public ring", public_ring_);
  text += FormatStamp("secret ring", secret_ring_);
  for (const auto& entry : entries_) text += IndexLine(entry);
  return WithChecksum(std::move(text));
}

}  // namespace corvessa::engine
