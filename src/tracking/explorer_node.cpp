#include "tracking/explorer_node.h"

#include <utility>

#include "accounts/registry_handlers.h"
#include "base/guard.h"
#include "settings/settings.h"
#include "tracking/configuration_buttons.h"

namespace corvessa {

ExplorerNode::ExplorerNode() = default;

ExplorerNode::~ExplorerNode() {
  ClearNode();
}

void ExplorerNode::Initialise(const platform::ExplorerPtr& explorer, std::int32_t node_id,
                              const std::shared_ptr<NodeRegistry>& parent, bool first) {
  Guarded("ExplorerNode::Initialise - ", [&] {
    m_oOLExplorer = explorer;
    explorer_events_ = explorer->Subscribe(*this);
    m_lNodeID = node_id;
    m_oParent = parent;
    if (first && !g_bSettingsLoaded) LoadSettingsAndAddButton();
  });
}

void ExplorerNode::LoadSettingsAndAddButton() {
  // Set first: a disconnection behind a message of the load takes it back.
  g_bSettingsLoaded = true;
  RegistryHandlers::ReadUserAccountInfo();
  if (!g_bSettingsLoaded || !IsOpen()) return;
  m_oConfigButtons = std::make_shared<ConfigurationButtons>();
  bool done = false;
  m_oConfigButtons->InitButtons(m_oOLExplorer, done);
}

void ExplorerNode::m_oOLExplorer_Close() {
  const auto held = shared_from_this();
  ClearNode();
}

void ExplorerNode::ClearNode() {
  Guarded("ExplorerNode::ClearNode - ", [&] {
    if (const auto buttons = std::exchange(m_oConfigButtons, nullptr)) buttons->CloseButtons();
    explorer_events_.reset();
    m_oOLExplorer.reset();
    if (const auto parent = std::exchange(m_oParent, nullptr)) parent->Release(m_lNodeID);
  });
}

}  // namespace corvessa
