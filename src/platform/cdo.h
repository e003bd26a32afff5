#pragma once

#include <memory>
#include <string_view>

namespace corvessa::platform {

/// A CDO 1.21 session, "MAPI.Session".
class MAPISession {
 public:
  virtual ~MAPISession() = default;
  virtual void Logon(std::string_view profile_name, std::string_view profile_password,
                     bool show_dialog, bool new_session, int parent_window) = 0;
};
using MAPISessionPtr = std::shared_ptr<MAPISession>;

class Cdo {
 public:
  virtual ~Cdo() = default;
  /// Throws Error 429 when Collaboration Data Objects are not installed.
  virtual MAPISessionPtr CreateSession() = 0;
};

}  // namespace corvessa::platform
