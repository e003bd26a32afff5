#pragma once

#include <cstdint>
#include <memory>

#include "platform/outlook.h"
#include "tracking/node_collection.h"

namespace corvessa {

class ConfigurationButtons;

/// One open explorer: its events and, in the explorer that was there when the add-in connected, the
/// configuration button. Nothing here throws.
class ExplorerNode final : public platform::ExplorerEvents,
                           public std::enable_shared_from_this<ExplorerNode> {
 public:
  ExplorerNode();
  ~ExplorerNode() override;
  ExplorerNode(const ExplorerNode&) = delete;
  ExplorerNode& operator=(const ExplorerNode&) = delete;

  /// Loads the settings for the first explorer when they have not been loaded yet in this process.
  void Initialise(const platform::ExplorerPtr& explorer, std::int32_t node_id,
                  const std::shared_ptr<NodeRegistry>& parent, bool first);
  std::int32_t NodeID() const { return m_lNodeID; }
  /// Until its explorer closes.
  bool IsOpen() const { return m_oOLExplorer != nullptr; }

  void m_oOLExplorer_Close();

 private:
  void Close() override { m_oOLExplorer_Close(); }
  void LoadSettingsAndAddButton();
  void ClearNode();

  platform::ExplorerPtr m_oOLExplorer;
  std::int32_t m_lNodeID = 0;
  std::shared_ptr<NodeRegistry> m_oParent;
  std::shared_ptr<ConfigurationButtons> m_oConfigButtons;
  platform::Subscription explorer_events_;
};

}  // namespace corvessa
