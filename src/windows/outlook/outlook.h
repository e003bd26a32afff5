#pragma once

#include "platform/command_bars.h"
#include "platform/outlook.h"
#include "windows/outlook/late_bound.h"

/// Outlook 9 to 11 by its late-bound object model. Each of these throws Error (91) for null.
namespace corvessa::windows {

platform::ApplicationPtr WrapApplication(DispatchPtr application);
/// `opened_now`: while the add-in is there to see it.
platform::InspectorPtr WrapInspector(DispatchPtr inspector, bool opened_now = false);
/// `window` is the item's if it is known.
platform::MailItemPtr WrapItem(DispatchPtr item,
                               const std::weak_ptr<platform::Inspector>& window = {});
platform::CommandBarsPtr WrapCommandBars(DispatchPtr bars);
/// Those of an inspector that was opened while the add-in was there: a bar that did not come with
/// Outlook was added through a result of this routine.
platform::CommandBarsPtr WrapBarsOfNewInspector(DispatchPtr bars, DispatchPtr inspector);

/// Outlook's own object of an item, for a library that works on it.
DispatchPtr ObjectOf(const platform::MailItemPtr& item);

}  // namespace corvessa::windows
