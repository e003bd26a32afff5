#pragma once

#include <cstdint>
#include <memory>

#include "platform/outlook.h"
#include "tracking/node_collection.h"

namespace corvessa {

class MailItemNode;

/// One open inspector and, when it shows a mail, the node that does the message work. Nothing here
/// throws.
class InspectorNode final : public platform::InspectorEvents,
                            public std::enable_shared_from_this<InspectorNode> {
 public:
  InspectorNode();
  ~InspectorNode() override;
  InspectorNode(const InspectorNode&) = delete;
  InspectorNode& operator=(const InspectorNode&) = delete;

  void Initialise(const platform::InspectorPtr& inspector, std::int32_t node_id,
                  const std::shared_ptr<NodeRegistry>& parent);
  /// Ends the message node and the window's events and leaves the registry.
  void ChildClose();

  void m_oOLInspector_Activate() {}
  void m_oOLInspector_Deactivate() {}
  void m_oOLInspector_Close();

 private:
  void Activate() override { m_oOLInspector_Activate(); }
  void Deactivate() override { m_oOLInspector_Deactivate(); }
  void Close() override { m_oOLInspector_Close(); }
  void DropItemAndWindow();

  platform::InspectorPtr m_oOLInspector;
  std::int32_t m_lNodeID = 0;
  std::shared_ptr<NodeRegistry> m_oParent;
  std::shared_ptr<MailItemNode> m_oMailItemNode;
  platform::Subscription inspector_events_;
};

}  // namespace corvessa
