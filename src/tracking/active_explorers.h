#pragma once

#include <cstdint>
#include <memory>

#include "platform/outlook.h"
#include "tracking/node_collection.h"

namespace corvessa {

class ExplorerNode;

/// A node for every open explorer. Nodes hold the registry too; a window's Close and ReleaseAll
/// break that cycle. Nothing here throws.
class ActiveExplorers final : public NodeRegistry,
                              public std::enable_shared_from_this<ActiveExplorers> {
 public:
  ActiveExplorers() = default;
  ~ActiveExplorers() override;
  ActiveExplorers(const ActiveExplorers&) = delete;
  ActiveExplorers& operator=(const ActiveExplorers&) = delete;

  /// Does nothing for null. `first` marks the explorer that was open when the add-in connected.
  void AddExplorer(const platform::ExplorerPtr& explorer, bool first);
  void Release(std::int32_t node_id) override;
  void ReleaseAll();

 private:
  std::int32_t NextNodeID();

  NodeCollection<ExplorerNode> m_colNodes;
  std::int32_t m_lNextNodeID = 0;
};

}  // namespace corvessa
