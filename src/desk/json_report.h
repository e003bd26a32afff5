#pragma once

#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>

#include "desk/outlook/bars.h"
#include "desk/terminal/terminal_ui.h"

namespace corvessa::desk {

class DeskHost;
struct MessageReport;

/// The names and shapes below are what scripts rely on: they are never changed, only added to.

/// decryptStatus, signStatus (both null when the add-in did not look), signers, statusText and
/// attachments (name, size, decryptStatus, signStatus, signers, savedAs).
void AddMessage(nlohmann::json& report, const MessageReport& message);

/// bars: the add-in's bars of a window, each with its name and its buttons (caption, tooltip,
/// pressed, enabled).
void AddBars(nlohmann::json& report, const Bars& bars);

/// boxes: every form and message box shown, with name, caption, text and answer.
void AddBoxes(nlohmann::json& report, std::span<const ShownBox> boxes);

/// One line of printable ASCII; bytes that are no UTF-8 are replaced.
std::string TextOf(const nlohmann::json& report);

}  // namespace corvessa::desk
