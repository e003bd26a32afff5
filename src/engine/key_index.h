#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "engine/key_facts.h"
#include "system/files.h"

namespace corvessa::engine {

/// A key of a ring: where it stands and by what it is found, see KeyFacts. Its texts are parts of
/// the index's own: each process reads the whole index, and copying them would be most of the work.
struct RingEntry {
  bool secret = false;  ///< in the secret ring
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
  std::string_view fingerprint;
  std::string_view key_ids;    ///< joined by commas
  std::string_view addresses;  ///< joined by commas
  std::string_view info;       ///< see key_info.h; empty when it cannot be kept
  bool operator==(const RingEntry&) const = default;
};

/// The item is among those that commas join.
bool Lists(std::string_view joined, std::string_view item);

/// The line of a key, for the text of an index.
std::string IndexLine(bool secret, std::uint64_t offset, std::uint64_t length,
                      const KeyFacts& facts, std::string_view info);
std::string IndexLine(const RingEntry& entry);

/// The index beside the rings: text, one line a key, closed by a checksum. What it says of a key
/// holds for one version of the library, which checked the key.
class KeyIndex {
 public:
  KeyIndex() = default;
  KeyIndex(KeyIndex&&) = default;  // the tables point into the entries
  KeyIndex& operator=(KeyIndex&&) = default;
  /// Of lines as IndexLine makes them.
  KeyIndex(system::FileStamp public_ring, system::FileStamp secret_ring, std::string lines);
  /// Nothing when the text is no index, is cut off or damaged, or an entry lies outside its ring.
  static std::optional<KeyIndex> Parse(std::string text);

  std::string Format() const;
  const system::FileStamp& PublicRing() const { return public_ring_; }
  const system::FileStamp& SecretRing() const { return secret_ring_; }
  const std::vector<RingEntry>& Entries() const { return entries_; }
  using Found = std::vector<const RingEntry*>;
  /// In ring order.
  Found FindByFingerprint(std::string_view fingerprint) const {
    return Find(by_fingerprint_, fingerprint);
  }
  Found FindByKeyId(std::string_view key_id) const { return Find(by_key_id_, key_id); }
  Found FindByAddress(std::string_view address) const { return Find(by_address_, address); }

 private:
  /// What entries are found by. Looking through thousands of them takes microseconds, a table of
  /// them a millisecond, which a process with one mail would lose: it is made for many questions.
  struct Lookup {
    std::string_view RingEntry::*list;
    int questions = 0;
    std::unordered_map<std::string_view, Found> table = {};
  };
  Found Find(Lookup& lookup, std::string_view item) const;
  bool ReadEntries(std::string_view lines);

  system::FileStamp public_ring_;
  system::FileStamp secret_ring_;
  std::shared_ptr<const std::string> text_;
  std::vector<RingEntry> entries_;
  mutable Lookup by_fingerprint_{&RingEntry::fingerprint};
  mutable Lookup by_key_id_{&RingEntry::key_ids};
  mutable Lookup by_address_{&RingEntry::addresses};
};

/// Closes an index's text with its checksum line.
std::string WithChecksum(std::string text);

}  // namespace corvessa::engine
