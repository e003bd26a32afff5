#pragma once

#include <cstdint>
#include <memory>

#include "platform/outlook.h"
#include "tracking/node_collection.h"

namespace corvessa {

class InspectorNode;

/// A node for every registered inspector. Nodes hold the registry too; a window's Close and
/// ReleaseAll, which close-down calls, break that cycle. Nothing here throws.
class ActiveInspectors final : public NodeRegistry,
                               public std::enable_shared_from_this<ActiveInspectors> {
 public:
  /// Does nothing for null.
  void AddInspector(const platform::InspectorPtr& inspector);
  void Release(std::int32_t node_id) override;
  void ReleaseAll();

 private:
  std::int32_t NextNodeID();

  NodeCollection<InspectorNode> m_colNodes;
  std::int32_t m_lNextNodeID = 0;
};

}  // namespace corvessa
