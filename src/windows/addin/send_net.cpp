#include "windows/addin/send_net.h"

#include <optional>
#include <utility>

#include "base/guard.h"
#include "message/encryption_failure.h"
#include "message/item_access.h"

namespace corvessa::windows {
namespace {

constexpr std::string_view kPrefix = "SendNet::ItemSend - ";

bool MayLeave(const SendFacts& facts, platform::MailItem& item) {
  if (facts.left_alone) return true;
  if (facts.encrypted_for.empty() && !MayLeaveInClear(facts)) return false;
  const bool is_as_written = facts.encrypted_for.empty() && facts.signed_by.empty();
  return is_as_written || HoldsWhatWasDecided(facts, *item.Body(), *item.HTMLBody());
}

class NetUnderSend final : public platform::ApplicationEvents {
 public:
  NetUnderSend(platform::ApplicationEvents& add_in, SendRecorder& recorder)
      : add_in_(add_in), recorder_(recorder) {}

  void ItemSend(const platform::MailItemPtr& item, bool& cancel) override {
    // Outlook may end, and with it the subscription, while a dialog waits.
    SendRecorder& recorder = recorder_;
    std::optional<MessageBody> before;
    Ignoring([&] { before.emplace(item); });
    recorder.Of(item) = {};
    add_in_.ItemSend(item, cancel);
    const SendFacts facts = recorder.Take(item);
    const auto check = [&] {
      return Guarded(kPrefix, std::optional<bool>(), [&] { return MayLeave(facts, *item); });
    };
    if (cancel) return;
    // Asked again after an error, because a mail that stays has its encrypted attachments by now.
    std::optional<bool> may_leave = check();
    if (!may_leave) may_leave = check();
    if (may_leave.value_or(false)) return;
    cancel = true;
    if (before) Guarded(kPrefix, [&] { before->PutBack(item); });
    Guarded(kPrefix, [] { TellNotSent("Its protection could not be checked."); });
  }

 private:
  platform::ApplicationEvents& add_in_;
  SendRecorder& recorder_;
};

class ApplicationWithNet final : public platform::Application {
 public:
  ApplicationWithNet(platform::ApplicationPtr application, SendRecorder& recorder)
      : application_(std::move(application)), recorder_(recorder) {}

  std::string Version() override { return application_->Version(); }
  platform::ExplorersPtr Explorers() override { return application_->Explorers(); }
  platform::InspectorsPtr Inspectors() override { return application_->Inspectors(); }
  platform::ExplorerPtr ActiveExplorer() override { return application_->ActiveExplorer(); }
  platform::InspectorPtr ActiveInspector() override { return application_->ActiveInspector(); }
  platform::Subscription Subscribe(platform::ApplicationEvents& sink) override {
    struct Subscribed {
      NetUnderSend net;
      platform::Subscription subscription;
    };
    const auto subscribed = std::make_shared<Subscribed>(NetUnderSend(sink, recorder_));
    subscribed->subscription = application_->Subscribe(subscribed->net);
    return subscribed;
  }

 private:
  platform::ApplicationPtr application_;
  SendRecorder& recorder_;
};

}  // namespace

platform::ApplicationPtr WithSendNet(platform::ApplicationPtr application, SendRecorder& recorder) {
  return std::make_shared<ApplicationWithNet>(std::move(application), recorder);
}

}  // namespace corvessa::windows
