#pragma once

#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "commands/passphrases.h"

namespace corvessa {
class Form;
}

/// Answers given on the command line: passphrases by address, and controls to press by form.
namespace corvessa::desk {

class Answers : public Passphrases {
 public:
  /// "FORM=CONTROL". Answers for one form are used in the order given, each once: consent meant for
  /// one question must not answer the next. Throws Error 5 for a malformed argument.
  void AddAnswer(std::string_view argument);
  /// Puts the program's own answers for a form before those given so far.
  void PutFirst(std::string_view form, const std::vector<std::string>& controls);

  /// Whether the form has unused answers.
  bool HasAnswers(std::string_view form) const;
  /// The next answer for the form; empty if there is none.
  std::string NextAnswer(std::string_view form);
  /// The answers of AddAnswer that were never used, as "FORM=CONTROL" without the text behind a
  /// colon, safe to print. Unused passphrases are no mistake: scripts give the same ones to every
  /// command.
  std::vector<std::string> Unused() const;

 private:
  struct Given {
    std::string control;
    bool by_user;
  };

  std::map<std::string, std::deque<Given>, std::less<>> controls_;
};

/// The control of an answer. The text behind its colon is never shown: it may be a passphrase. The
/// view lives as long as the answer.
std::string_view ControlIn(std::string_view answer);

struct GivenResult {
  /// The control pressed last; empty if none was.
  std::string answer;
  /// Why an answer could not be used, for the user; empty if all could.
  std::string problem;
};

/// Answers a form that has just been shown. A passphrase prompt (frmLogin) gets the passphrase of
/// an address that it offers; that of a message's own one (frmPassphrase) the one given for
/// "message". Then the form's answers are used until it closes or none is left.
/// Each names a control to press ("cmdOK", "optRemember(1)"), or is CONTROL:TEXT for a row or tab
/// to choose, a line to type or a check box to set ("on" or "off").
GivenResult GiveAnswers(Form& form, Answers& answers);

/// What the form asks: its text; of a passphrase prompt, only its first line, which says what was
/// wrong with the last passphrase. Safe to print, lines ended by LF.
std::string QuestionOf(const Form& form);

/// The argument that would have answered the form: "--answer frmHTML=cmdConvert|cmdSend". Empty for
/// a form without buttons.
std::string ArgumentFor(const Form& form);

}  // namespace corvessa::desk
