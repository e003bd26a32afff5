#pragma once

#include <memory>

#include "platform/cdo.h"
#include "platform/outlook.h"
#include "platform/redemption.h"
#include "support/fault_injector.h"

/// Outlook's objects with calls that the injector sees, and may fail, before they do anything. What
/// they hand out, in results and in events, is wrapped in the same way. Calls are named as
/// "MailItem.SetBody". The injector must outlive the objects.
namespace corvessa::testing {

platform::ApplicationPtr WithFaults(platform::ApplicationPtr real, FaultInjector& faults);
platform::InspectorPtr WithFaults(platform::InspectorPtr real, FaultInjector& faults);
platform::ExplorerPtr WithFaults(platform::ExplorerPtr real, FaultInjector& faults);
platform::MailItemPtr WithFaults(platform::MailItemPtr real, FaultInjector& faults);
std::unique_ptr<platform::Redemption> WithFaults(platform::Redemption& real, FaultInjector& faults);
std::unique_ptr<platform::Cdo> WithFaults(platform::Cdo& real, FaultInjector& faults);

}  // namespace corvessa::testing
