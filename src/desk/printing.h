#pragma once

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>
#include <string_view>

#include "desk/outlook/item.h"
#include "desk/outlook/item_data.h"
#include "desk/terminal/terminal_ui.h"

namespace corvessa {
class CommandContext;
}

/// What the desk prints of a message: as text for people, as JSON for scripts.
///
/// Subjects, names and bodies are the sender's. In text nothing of them can steer a terminal or
/// pass for a line of the program: the status comes first, and a field never starts a line of its
/// own. The JSON names and shapes are an interface: add to them, never change them.
namespace corvessa::desk {

struct MessageReport;

/// Prints the open message: status, header, attachments, text.
void PrintMessage(const CommandContext& context, const ItemData& item, const MessageReport& report);

/// Prints the add-in's bars of a window, one a line: "Corvessa Options: [x] Encrypt on send, …".
void PrintBars(const CommandContext& context, const Bars& bars);

/// Adds decryptStatus, signStatus (both null if the add-in did not check), signers, statusText and
/// attachments (name, size, decryptStatus, signStatus, signers, savedAs); reason, reasonCode and
/// signerKeyID wherever there is a signStatus.
void AddMessage(nlohmann::json& report, const MessageReport& message);

/// Adds from, to, cc, date and subject.
void AddHeader(nlohmann::json& report, const ItemData& item);
/// Adds what RemarksOn says, as texts and as values.
void AddRemarks(nlohmann::json& report, const MessageReport& message);

/// Adds bars: the add-in's bars of a window with name and buttons (caption, tooltip, pressed,
/// enabled).
void AddBars(nlohmann::json& report, const Bars& bars);

/// Adds boxes: every form and message box shown (name, caption, text, answer).
void AddBoxes(nlohmann::json& report, std::span<const ShownBox> boxes);

}  // namespace corvessa::desk
