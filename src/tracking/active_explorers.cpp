#include "tracking/active_explorers.h"

#include "base/checked.h"
#include "base/guard.h"
#include "tracking/explorer_node.h"

namespace corvessa {

ActiveExplorers::~ActiveExplorers() {
  ReleaseAll();
}

void ActiveExplorers::AddExplorer(const platform::ExplorerPtr& explorer, bool first) {
  Guarded("ActiveExplorers::AddExplorer - ", [&] {
    if (!explorer) return;
    const std::int32_t node_id = NextNodeID();
    const auto node = std::make_shared<ExplorerNode>();
    node->Initialise(explorer, node_id, shared_from_this(), first);
    // Loading the settings may have shown a message, and the window be gone since.
    if (node->IsOpen()) m_colNodes.Add(node_id, node);
  });
}

void ActiveExplorers::Release(std::int32_t node_id) {
  Guarded("ActiveExplorers::Release - ", [&] { m_colNodes.Take(node_id); });
}

void ActiveExplorers::ReleaseAll() {
  Guarded("ActiveExplorers::ReleaseAll - ", [&] {
    while (!m_colNodes.IsEmpty()) m_colNodes.TakeFirst();
  });
}

std::int32_t ActiveExplorers::NextNodeID() {
  m_lNextNodeID = CheckedAdd(m_lNextNodeID, 1);
  return m_lNextNodeID;
}

}  // namespace corvessa
