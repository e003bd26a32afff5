#include "windows/cdo/cdo.h"

#include "windows/com/create.h"
#include "windows/com/variant.h"
#include "windows/outlook/late_bound.h"

namespace corvessa::windows {
namespace {

using com::Variant;

class LateBoundSession final : public LateBound<platform::MAPISession> {
 public:
  using LateBound::LateBound;

  void Logon(std::string_view profile_name, std::string_view profile_password, bool show_dialog,
             bool new_session, int parent_window) override {
    object_.Call("Logon", {Variant(profile_name).Get(), Variant(profile_password).Get(),
                           Variant(show_dialog).Get(), Variant(new_session).Get(),
                           Variant(parent_window).Get()});
  }
};

}  // namespace

platform::MAPISessionPtr ComCdo::CreateSession() {
  return std::make_shared<LateBoundSession>(com::CreateByProgId<IDispatch>(L"MAPI.Session"));
}

}  // namespace corvessa::windows
