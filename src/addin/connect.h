#pragma once

#include "platform/outlook.h"

namespace corvessa {

/// The add-in's entry and exit: what Outlook creates and tells of connection and disconnection.
class Connect {
 public:
  /// Installs the trace log.
  Connect();

  /// Refuses an Outlook version it does not know with a message, and stays inert then.
  void AddinInstance_OnConnection(const platform::ApplicationPtr& application);
  /// Closes everything down and puts the process back to its initial state.
  void AddinInstance_OnDisconnection();
};

}  // namespace corvessa
