#pragma once

#include <iosfwd>

#include "desk/outlook/item_data.h"
#include "desk/outlook/windows.h"

namespace corvessa::desk {

struct MessageReport;

/// The open message for a person: header, status, text, attachments. Nothing of it can steer a
/// terminal.
void PrintMessage(std::ostream& out, const ItemData& item, const MessageReport& report);

/// The add-in's bars of a window, a line a bar: "Corvessa Options: [x] Encrypt on send, …".
void PrintBars(std::ostream& out, const Bars& bars);

}  // namespace corvessa::desk
