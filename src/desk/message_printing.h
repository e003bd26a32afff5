#pragma once

#include <iosfwd>

#include "desk/outlook/item.h"
#include "desk/outlook/item_data.h"

namespace corvessa::desk {

struct MessageReport;

/// The open message for a person: status, header, attachments, text. Nothing of it can steer a
/// terminal, and nothing above the text can be taken for a line that it is not.
void PrintMessage(std::ostream& out, const ItemData& item, const MessageReport& report,
                  int columns);

/// The add-in's bars of a window, a line a bar: "Corvessa Options: [x] Encrypt on send, …".
void PrintBars(std::ostream& out, const Bars& bars);

}  // namespace corvessa::desk
