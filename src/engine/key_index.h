#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/key_facts.h"

namespace corvessa::engine {

/// Which state of a ring file an index describes. A ring is only ever replaced as a whole, so a new
/// state is a new file; size and time also catch a ring that was changed by hand.
struct RingStamp {
  std::uint64_t size = 0;
  std::int64_t modified_ns = 0;
  std::uint64_t file_number = 0;
  bool operator==(const RingStamp&) const = default;
};

/// A key of a ring: where it stands and by what it is found.
struct RingEntry {
  bool secret = false;  ///< in the secret ring
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
  KeyFacts facts;
  bool operator==(const RingEntry&) const = default;
};

/// The index beside the rings: text, one line a key, closed by a checksum.
struct KeyIndex {
  RingStamp public_ring;
  RingStamp secret_ring;
  std::vector<RingEntry> entries;
  bool operator==(const KeyIndex&) const = default;
};

/// Closes an index's text with its checksum line.
std::string WithChecksum(std::string text);

std::string FormatKeyIndex(const KeyIndex& index);

/// Nothing when the text is no index, is cut off or damaged, or an entry lies outside its ring.
std::optional<KeyIndex> ParseKeyIndex(std::string_view text);

}  // namespace corvessa::engine
