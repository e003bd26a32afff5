#pragma once

#include <string>
#include <vector>

namespace corvessa {
class Control;
class ProgressBar;
}  // namespace corvessa

namespace corvessa::desk {

class Choices;
using Lines = std::vector<std::string>;

/// Whether the control has anything to draw on a terminal: pictures and timers have not, neither
/// has an empty label.
bool IsDrawn(const Control& control);

/// The lines of one control, frames excepted, none wider than `columns`. `choices` may be null.
Lines DrawControl(const Control& control, const Choices* choices, int columns);

inline constexpr int kMostBarColumns = 32;

/// "[####----]", `columns` wide.
std::string DrawBar(const ProgressBar& bar, int columns);

}  // namespace corvessa::desk
