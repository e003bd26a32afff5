#pragma once

#include "platform/command_bars.h"
#include "platform/outlook.h"
#include "windows/outlook/late_bound.h"

/// Outlook 9 to 11 by its late-bound object model. Each of these throws Error (91) for null.
namespace corvessa::windows {

platform::ApplicationPtr WrapApplication(DispatchPtr application);
platform::InspectorPtr WrapInspector(DispatchPtr inspector);
platform::MailItemPtr WrapItem(DispatchPtr item);
platform::CommandBarsPtr WrapCommandBars(DispatchPtr bars);

/// Outlook's own object of an item, for a library that works on it.
DispatchPtr ObjectOf(const platform::MailItemPtr& item);

}  // namespace corvessa::windows
