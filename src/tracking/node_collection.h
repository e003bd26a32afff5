#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/text.h"

namespace corvessa {

/// What a window's node sees of the registry that keeps it.
class NodeRegistry {
 public:
  virtual ~NodeRegistry() = default;
  /// Lets go of the node with that ID. Never throws.
  virtual void Release(std::int32_t node_id) = 0;
};

/// The nodes of one kind of window, in the order of their registration, keyed by the decimal text
/// of their IDs. A node is always taken out before it is let go, because its destruction may come
/// back to the collection.
template <typename Node>
class NodeCollection {
 public:
  using NodePtr = std::shared_ptr<Node>;

  bool IsEmpty() const { return nodes_.empty(); }

  void Add(std::int32_t node_id, NodePtr node) {
    nodes_.emplace_back(Decimal(node_id), std::move(node));
  }

  /// Error (5) when no node has the ID.
  NodePtr Take(std::int32_t node_id) {
    const std::string key = Decimal(node_id);
    const auto found =
        std::ranges::find_if(nodes_, [&](const auto& entry) { return entry.first == key; });
    if (found == nodes_.end()) Raise(kInvalidArgument);
    return TakeAt(found);
  }

  /// The collection must not be empty.
  NodePtr TakeFirst() { return TakeAt(nodes_.begin()); }

 private:
  using Entries = std::vector<std::pair<std::string, NodePtr>>;

  NodePtr TakeAt(typename Entries::iterator place) {
    NodePtr node = std::move(place->second);
    nodes_.erase(place);
    return node;
  }

  Entries nodes_;
};

}  // namespace corvessa
