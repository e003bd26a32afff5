#pragma once

#include <cstdint>
#include <memory>

#include "platform/outlook.h"

namespace corvessa {

class ActiveExplorers;
class ActiveInspectors;
class frmSplashScreen;

/// Outlook's application with its events: start-up and close-down, the registration of windows, the
/// interception of sending.
class OutlookSupport final : public platform::ApplicationEvents,
                             public platform::ExplorersEvents,
                             public platform::InspectorsEvents,
                             public std::enable_shared_from_this<OutlookSupport> {
 public:
  OutlookSupport();
  ~OutlookSupport() override;

  /// Runs the start-up sequence. A second call keeps the window registries and repeats the rest.
  void Initialise(const platform::ApplicationPtr& application);
  /// Releases everything, in a fixed order.
  void Closedown();

  void m_oExplorers_NewExplorer(const platform::ExplorerPtr& explorer);
  void m_oInspectors_NewInspector(const platform::InspectorPtr& inspector);
  void m_oApplication_ItemSend(const platform::MailItemPtr& item, bool& cancel);

 private:
  void NewExplorer(const platform::ExplorerPtr& explorer) override;
  void NewInspector(const platform::InspectorPtr& inspector) override;
  void ItemSend(const platform::MailItemPtr& item, bool& cancel) override;

  void TrackOpenWindows(const platform::ApplicationPtr& application);

  platform::ApplicationPtr m_oApplication;
  platform::ExplorersPtr m_oExplorers;
  platform::InspectorsPtr m_oInspectors;
  std::shared_ptr<ActiveExplorers> m_oActiveExplorers;
  std::shared_ptr<ActiveInspectors> m_oActiveInspectors;
  bool m_vInitialised = false;

  platform::Subscription application_events_;
  platform::Subscription explorers_events_;
  platform::Subscription inspectors_events_;
};

/// The one application wrapper, held from connection to disconnection.
extern std::shared_ptr<OutlookSupport> g_oOutlookSupport;

namespace UserManagement {

/// How many addresses have a key pair; moves the splash screen's caption when one is given. Never
/// throws. It is here because start-up is its only caller.
std::int32_t GetKeyPairCount(frmSplashScreen* splash);

}  // namespace UserManagement

}  // namespace corvessa
