#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/secret_string.h"

/// Passphrases for commands: given on the command line, or typed by the user.
namespace corvessa {

/// A passphrase that comes in byte by byte, in one buffer that is wiped at the end. A growing
/// string would leave copies behind.
class SecretLine {
 public:
  SecretLine() { bytes_.reserve(kMostBytes + 1); }
  SecretLine(const SecretLine&) = delete;
  SecretLine& operator=(const SecretLine&) = delete;

  /// Ignores bytes beyond the limit.
  void Add(char byte) {
    if (bytes_.size() <= kMostBytes) bytes_.push_back(byte);
  }
  bool IsTooLong() const { return View().size() > kMostBytes; }
  /// Without the CR of a CR LF.
  std::string_view View() const {
    const std::string_view all(bytes_.data(), bytes_.size());
    return all.ends_with('\r') ? all.substr(0, all.size() - 1) : all;
  }

 private:
  /// As much as a terminal takes in one line.
  static constexpr std::size_t kMostBytes = 4000;

  SecretBytes bytes_;
};

/// Where a user can be asked: a terminal or console.
class UserPrompt {
 public:
  enum class SecretResult { kRead, kTooLong, kAborted };

  virtual ~UserPrompt() = default;
  /// Whether there is a user to ask.
  virtual bool IsThere() const = 0;
  /// Reads a line without echo, at most 4,000 bytes; aborted by the end of the input.
  virtual SecretResult ReadSecret(std::string_view prompt, SecretString& secret) = 0;
  /// Reads a line as it is typed, without its end; nothing at the end of the input.
  virtual std::optional<std::string> ReadLine(std::string_view prompt) = 0;
};

/// Passphrases by address. Addresses are compared trimmed and in lower case.
class Passphrases {
 public:
  /// "ADDRESS=FILE": the first line of the file is the passphrase. Reads it at once and only once,
  /// so that a pipe will do. Throws Error with a line for the user: 5 for a malformed argument or a
  /// file without a passphrase, the file's own error if it cannot be read.
  void AddPassphrase(std::string_view argument);
  void SetPassphrase(std::string_view address, std::string_view passphrase);

  void ForgetPassphrases() { passphrases_.clear(); }

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
  std::map<std::string, SecretString> passphrases_;
  std::set<std::pair<std::string, std::string>> tried_;
};

/// The two sides of an argument such as "ADDRESS=FILE". Throws Error 5 with the usage if one is
/// missing. The error does not show the argument: it may be a passphrase in the wrong place.
std::pair<std::string_view, std::string_view> SplitArgument(std::string_view argument,
                                                            std::string_view usage);

}  // namespace corvessa
