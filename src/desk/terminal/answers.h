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

namespace corvessa::desk {

/// What the user has answered beforehand: passphrases by address and the controls to press by form.
class Answers {
 public:
  /// "ADDRESS=FILE": the file's first line is the address's passphrase. It is read here and now,
  /// once, so that a pipe will do. Throws Error: 5 for what is no such text or a file without a
  /// passphrase, the file's own error when it cannot be read; the description is for the user.
  void AddPassphrase(std::string_view argument);
  /// Addresses are compared trimmed and in lower case.
  void SetPassphrase(std::string_view address, std::string_view passphrase);
  /// "FORM=CONTROL". Each is used once, those for one form in the order given: a consent that was
  /// meant for one question is none to the next. Throws Error 5 for what is no such text.
  void AddAnswer(std::string_view argument);

  /// Answers of the program's own for the form, before those given so far.
  void PutFirst(std::string_view form, const std::vector<std::string>& controls);

  /// Whether there are answers for the form that have not been used.
  bool HasAnswers(std::string_view form) const;
  /// The next answer for the form; empty when there is none.
  std::string NextAnswer(std::string_view form);

  /// The answers of AddAnswer that nothing has asked for: "FORM=CONTROL", safe to print, without
  /// what stands behind a colon. By form, those for one form in the order given. (A passphrase that
  /// was not needed is no mistake: whether one is asked for depends on the message and on what is
  /// remembered, and scripts give the same ones to every command.)
  std::vector<std::string> Unused() const;

  /// A new operation begins, in which every passphrase may be tried afresh.
  void BeginRound();
  /// The address whose passphrase to try now, of those offered: the first that has not been tried
  /// in this round, else the first that has not been tried at this prompt. So a wrong passphrase
  /// comes to an end. Nothing when there is none left.
  std::optional<std::string> ChooseAddress(const std::vector<std::string>& offered,
                                           std::string_view prompt) const;
  /// The passphrase of an address that ChooseAddress gave; from then on it counts as tried.
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

/// The control of an answer, without the text behind the colon, which is shown nowhere: it may be
/// meant as a passphrase. The view lives as long as the answer.
std::string_view ControlIn(std::string_view answer);

}  // namespace corvessa::desk
