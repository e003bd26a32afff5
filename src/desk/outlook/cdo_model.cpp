#include "desk/outlook/cdo_model.h"

#include <utility>

namespace corvessa::desk {
namespace {

class Session final : public platform::MAPISession {
 public:
  Session(WorldPtr world, std::optional<Error> failure,
          std::shared_ptr<std::vector<CdoModel::LogonCall>> logons)
      : world_(std::move(world)), failure_(std::move(failure)), logons_(std::move(logons)) {}

  void Logon(std::string_view profile_name, std::string_view profile_password, bool show_dialog,
             bool new_session, int parent_window) override {
    world_->Called("MAPISession.Logon");
    logons_->push_back({std::string(profile_name), std::string(profile_password), show_dialog,
                        new_session, parent_window});
    if (failure_) throw *failure_;
  }

 private:
  WorldPtr world_;
  std::optional<Error> failure_;
  std::shared_ptr<std::vector<CdoModel::LogonCall>> logons_;
};

}  // namespace

CdoModel::CdoModel(WorldPtr world)
    : world_(std::move(world)), logons_(std::make_shared<std::vector<LogonCall>>()) {}

platform::MAPISessionPtr CdoModel::CreateSession() {
  world_->Called("Cdo.CreateSession");
  if (!installed) Raise(kCannotCreateComponent);
  ++sessions_created_;
  return std::make_shared<Session>(world_, logon_failure, logons_);
}

}  // namespace corvessa::desk
