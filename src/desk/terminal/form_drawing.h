#pragma once

#include <string>
#include <string_view>

namespace corvessa {
class Form;
}

namespace corvessa::desk {

class Choices;

/// The form as a box of at most `columns`, each line ended by LF: its visible controls where its
/// design has them, row by row; what can be chosen stands behind its key, what is disabled in
/// parentheses. Without `choices` (null) there are no keys. Nothing of it can steer a terminal.
std::string DrawForm(const Form& form, const Choices* choices, int columns);

/// The same for a message box; `symbol` stands before the text.
std::string DrawMessage(std::string_view text, std::string_view title, std::string_view symbol,
                        int columns);

/// The visible labels and rows of a form in their order, one a line, as they are drawn.
std::string TextOf(const Form& form);

/// A window that only tells how far things are, in one line: "[####----] step" when it has a
/// progress bar, its caption line otherwise. The bar is the shorter the fewer `columns` there are,
/// because the step tells more.
std::string StatusOf(const Form& form, int columns);

}  // namespace corvessa::desk
