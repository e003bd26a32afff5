#pragma once

#include <optional>

#include "windows/outlook/scripted_user.h"
#include "windows/outlook/session.h"

namespace corvessa::testing {

/// Executes the commands, on the thread of the windows. README.md lists them.
class StandIn {
 public:
  /// The command's answer, which is an "error" when it fails, and the boxes seen since the last
  /// one. A dialog that the command shows may let further ones in.
  Json Do(const Json& command);

 private:
  Session& Running();
  desk::ItemPtr ItemOf(const Json& command);
  Json Run(const Json& command);
  Json Connect(const Json& command);
  Json Disconnect(const Json& command);
  Json OpenMail(const Json& command);
  Json Compose(const Json& command);
  Json Open(const desk::ItemPtr& item);
  Json Click(const Json& command);
  Json Send(const Json& command);
  Json Close(const Json& command);
  Json Respond(const Json& command);
  Json SaveAttachment(const Json& command);
  Json Queue(const Json& command);
  Json CallCrypto(const Json& command);
  Json ChangeSetting(const Json& command);
  /// For its boxes.
  Json Nothing(const Json& /*command*/) { return Json::object(); }

  std::optional<Session> session_;
  ScriptedUser user_;
  /// Commands under way.
  int depth_ = 0;
};

}  // namespace corvessa::testing
