#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "base/error.h"
#include "platform/cdo.h"
#include "platform/engine.h"
#include "platform/files.h"
#include "platform/outlook.h"
#include "platform/redemption.h"
#include "platform/registry.h"

namespace corvessa::testing {

/// Sees every platform call before it does anything. Counts the calls of a scenario and fails one
/// of them, so that a sweep can run the scenario once for each. Trace lines are not counted: losing
/// one changes nothing.
class FaultInjector {
 public:
  using CallHook = std::function<void(std::string_view call)>;

  /// Counts anew from here; the nth call (from 1) fails, 0 for none.
  void FailAt(std::size_t n) {
    calls_ = 0;
    fail_at_ = n;
    failed_.clear();
  }
  /// The call that failed, such as "Files::Write" or "MailItem.SetBody"; empty when none has.
  const std::string& Failed() const { return failed_; }

  /// Sees the same calls; an Error that it throws is the call's failure.
  CallHook on_call;

  /// To be called before each platform call; throws Error when this one is to fail.
  void operator()(std::string_view call) {
    // The trace log is all that appends.
    if (call == "Files::AppendText") return;
    // The hook may replace itself.
    if (const CallHook hook = on_call) hook(call);
    if (++calls_ != fail_at_) return;
    failed_ = call;
    Raise(kPathFileAccess);
  }

 private:
  std::size_t calls_ = 0;
  std::size_t fail_at_ = 0;
  std::string failed_;
};

/// The same services and objects of Outlook with calls that fail when the injector says so; it and
/// what is given by reference must outlive them. What they hand out, in results and in events, is
/// wrapped in the same way. A registry fails as a registry does: with a status, 0 or an empty
/// string.
std::unique_ptr<platform::Files> WithFaults(platform::Files& real, FaultInjector& faults);
std::unique_ptr<platform::Registry> WithFaults(platform::Registry& real, FaultInjector& faults);
std::unique_ptr<platform::EngineFactory> WithFaults(platform::EngineFactory& real,
                                                    FaultInjector& faults);
std::unique_ptr<platform::Redemption> WithFaults(platform::Redemption& real, FaultInjector& faults);
std::unique_ptr<platform::Cdo> WithFaults(platform::Cdo& real, FaultInjector& faults);
platform::ApplicationPtr WithFaults(platform::ApplicationPtr real, FaultInjector& faults);
platform::InspectorPtr WithFaults(platform::InspectorPtr real, FaultInjector& faults);
platform::ExplorerPtr WithFaults(platform::ExplorerPtr real, FaultInjector& faults);
platform::MailItemPtr WithFaults(platform::MailItemPtr real, FaultInjector& faults);

}  // namespace corvessa::testing
