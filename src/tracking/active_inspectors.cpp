#include "tracking/active_inspectors.h"

#include "base/checked.h"
#include "base/guard.h"
#include "tracking/inspector_node.h"

namespace corvessa {

void ActiveInspectors::AddInspector(const platform::InspectorPtr& inspector) {
  Guarded("ActiveInspectors::AddInspector - ", [&] {
    if (!inspector) return;
    const std::int32_t node_id = NextNodeID();
    const auto node = std::make_shared<InspectorNode>();
    node->Initialise(inspector, node_id, shared_from_this());
    m_colNodes.Add(node_id, node);
  });
}

void ActiveInspectors::Release(std::int32_t node_id) {
  Guarded("ActiveInspectors::Release - ", [&] { m_colNodes.Take(node_id); });
}

void ActiveInspectors::ReleaseAll() {
  Guarded("ActiveInspectors::ReleaseAll - ", [&] {
    while (!m_colNodes.IsEmpty()) m_colNodes.TakeFirst();
  });
}

std::int32_t ActiveInspectors::NextNodeID() {
  m_lNextNodeID = CheckedAdd(m_lNextNodeID, 1);
  return m_lNextNodeID;
}

}  // namespace corvessa
