#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/error.h"
#include "desk/outlook/world.h"
#include "platform/cdo.h"

namespace corvessa::desk {

/// The CDO session, with its log-ons recorded.
class CdoModel final : public platform::Cdo {
 public:
  struct LogonCall {
    std::string profile_name;
    std::string profile_password;
    bool show_dialog = false;
    bool new_session = false;
    int parent_window = 0;
    bool operator==(const LogonCall&) const = default;
  };

  explicit CdoModel(WorldPtr world);
  platform::MAPISessionPtr CreateSession() override;

  const std::vector<LogonCall>& Logons() const { return *logons_; }
  int SessionsCreated() const { return sessions_created_; }

  /// False: creating a session fails with 429.
  bool installed = true;
  /// Set: sessions created from now on fail to log on with it.
  std::optional<Error> logon_failure;

 private:
  WorldPtr world_;
  std::shared_ptr<std::vector<LogonCall>> logons_;
  int sessions_created_ = 0;
};

}  // namespace corvessa::desk
