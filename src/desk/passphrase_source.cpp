#include "desk/passphrase_source.h"

#include "base/error.h"
#include "desk/failure.h"
#include "desk/terminal/answers.h"
#include "desk/terminal/terminal.h"

namespace corvessa::desk {
namespace {

SecretString FromFile(const std::string& file) {
  Answers from_file;
  try {
    from_file.AddPassphrase("new=" + file);
  } catch (const Error& error) {
    Fail(error.number == kInvalidArgument ? Outcome::kWrongUse : Outcome::kEnvironment,
         error.description);
  }
  return from_file.UsePassphrase("new", "");
}

SecretString Typed(Terminal& terminal, const std::string& prompt) {
  SecretString typed;
  switch (terminal.ReadSecret(prompt, typed)) {
    case Terminal::SecretResult::kRead:
      return typed;
    case Terminal::SecretResult::kTooLong:
      Fail(Outcome::kWrongUse, "the passphrase is too long");
    case Terminal::SecretResult::kAborted:
      break;
  }
  Fail(Outcome::kRefused, "no passphrase was given; no key was made");
}

}  // namespace

SecretString ChoosePassphrase(std::string_view address, const std::string& file, Answers& answers,
                              Terminal& terminal) {
  if (!file.empty()) return FromFile(file);
  if (const auto known = answers.ChooseAddress({std::string(address)}, "")) {
    return answers.UsePassphrase(*known, "");
  }
  if (!terminal.IsThere()) {
    Fail(Outcome::kWrongUse, "without a terminal the passphrase comes from --passphrase-file");
  }
  SecretString first = Typed(terminal, "Passphrase for the new key: ");
  if (first.IsEmpty()) Fail(Outcome::kRefused, "the passphrase is empty; no key was made");
  const SecretString second = Typed(terminal, "Once more: ");
  if (first.View() != second.View()) {
    Fail(Outcome::kRefused, "the two passphrases differ; no key was made");
  }
  return first;
}

std::optional<SecretString> FindPassphrase(const std::vector<std::string>& addresses,
                                           const std::string& prompt, Answers& answers,
                                           Terminal& terminal) {
  if (const auto known = answers.ChooseAddress(addresses, prompt)) {
    return answers.UsePassphrase(*known, prompt);
  }
  SecretString typed;
  const bool read =
      terminal.IsThere() && terminal.ReadSecret(prompt, typed) == Terminal::SecretResult::kRead;
  return read ? std::optional(typed) : std::nullopt;
}

}  // namespace corvessa::desk
