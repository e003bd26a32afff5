#include "addin/connect.h"

#include "addin/outlook_support.h"
#include "addin/outlook_version.h"
#include "addin/process_state.h"
#include "addin/trace_log.h"
#include "base/guard.h"
#include "branding/message_box.h"
#include "settings/edition.h"

namespace corvessa {
namespace {

void TellIncompatible() {
  Tell(Customization::AppLongName() +
       " is not currently compatible with this version of Outlook.\r\n"
       "For more information, visit the following URL:\r\n\r\n\t" +
       RegistryHandlers::GetVersionValue("URLMain"));
}

}  // namespace

Connect::Connect() {
  Debug_Info::InstallTraceLog();
}

void Connect::AddinInstance_OnConnection(const platform::ApplicationPtr& application) {
  Guarded("Connect::AddinInstance_OnConnection - ", [&] {
    if (!IsCompatibleOutlookVersion(*application)) return TellIncompatible();
    g_oOutlookSupport = std::make_shared<OutlookSupport>();
    g_oOutlookSupport->Initialise(application);
  });
}

void Connect::AddinInstance_OnDisconnection() {
  Ignoring([] {
    if (g_oOutlookSupport) g_oOutlookSupport->Closedown();
  });
  ResetProcessState();
}

}  // namespace corvessa
