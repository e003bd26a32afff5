#pragma once

#include <string>

namespace corvessa {
class Form;
}

namespace corvessa::desk {

class Answers;

/// How the answers given beforehand did with one form.
struct GivenResult {
  /// The control pressed last; empty when nothing was pressed.
  std::string answer;
  /// Why an answer could not be used, for the user; empty when all went well.
  std::string problem;
};

/// Answers a form that has just been shown. A passphrase prompt (frmLogin) gets the passphrase of
/// an address that it offers. Then the answers for the form are given one after the other until the
/// form is gone or the last one has been given; each is the name of a control that gets pressed
/// ("cmdOK", "optRemember(1)"), or CONTROL:TEXT for a row or tab to choose, a line to type or a
/// check box to set ("on" or "off").
GivenResult GiveAnswers(Form& form, Answers& answers);

/// What the form asks: its text, of a passphrase prompt only what was wrong with the passphrase
/// before. Safe to print, lines ended by LF.
std::string QuestionOf(const Form& form);

/// The argument that would have answered the form: "--answer frmHTML=cmdConvert|cmdSend". Empty
/// when it has no button.
std::string ArgumentFor(const Form& form);

}  // namespace corvessa::desk
