#pragma once

#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/secret_string.h"

namespace corvessa {
class Form;
}

/// Answers given on the command line: passphrases by address, and controls to press by form.
namespace corvessa::desk {

class Answers {
 public:
  /// "ADDRESS=FILE": the first line of the file is the passphrase. Reads it at once and only once,
  /// so that a pipe will do. Throws Error with a line for the user: 5 for a malformed argument or a
  /// file without a passphrase, the file's own error if it cannot be read.
  void AddPassphrase(std::string_view argument);
  /// Addresses are compared trimmed and in lower case.
  void SetPassphrase(std::string_view address, std::string_view passphrase);
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

  /// Begins a new operation, in which every passphrase may be tried again.
  void BeginRound();
  /// The offered address whose passphrase to try next: the first one not tried in this round, else
  /// the first one not tried at this prompt, so that a wrong passphrase is not tried forever.
  /// Nothing if none is left.
  std::optional<std::string> ChooseAddress(const std::vector<std::string>& offered,
                                           std::string_view prompt) const;
  /// The passphrase of an address from ChooseAddress, which then counts as tried.
  const SecretString& UsePassphrase(std::string_view address, std::string_view prompt);

 private:
  struct Given {
    std::string control;
    bool by_user;
  };

  std::map<std::string, SecretString> passphrases_;
  std::map<std::string, std::deque<Given>, std::less<>> controls_;
  std::set<std::pair<std::string, std::string>> tried_;
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
/// an address that it offers. Then the form's answers are used until it closes or none is left.
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
