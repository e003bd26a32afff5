#include "tracking/inspector_node.h"

#include <utility>

#include "base/guard.h"
#include "message/mail_item_node.h"

namespace corvessa {

InspectorNode::InspectorNode() = default;

InspectorNode::~InspectorNode() {
  Guarded("InspectorNode::Class_Terminate - ", [&] { DropItemAndWindow(); });
}

void InspectorNode::Initialise(const platform::InspectorPtr& inspector, std::int32_t node_id,
                               const std::shared_ptr<NodeRegistry>& parent) {
  Guarded("InspectorNode::Initialise - ", [&] {
    m_oOLInspector = inspector;
    inspector_events_ = inspector->Subscribe(*this);
    m_lNodeID = node_id;
    m_oParent = parent;
    const platform::MailItemPtr item = inspector->CurrentItem();
    if (!item || item->Class() != platform::kMailItemClass) return;
    m_oMailItemNode = std::make_shared<MailItemNode>();
    m_oMailItemNode->InitialiseNode(item, m_lNodeID);
  });
}

void InspectorNode::m_oOLInspector_Close() {
  const auto held = shared_from_this();
  ChildClose();
}

void InspectorNode::ChildClose() {
  Guarded("InspectorNode::ChildClose - ", [&] {
    DropItemAndWindow();
    if (m_oParent) m_oParent->Release(m_lNodeID);
  });
}

void InspectorNode::DropItemAndWindow() {
  if (const auto item_node = std::exchange(m_oMailItemNode, nullptr)) item_node->ClearNodeID();
  inspector_events_.reset();
  m_oOLInspector.reset();
}

}  // namespace corvessa
