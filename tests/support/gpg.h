#pragma once

#include <string>
#include <string_view>

#include "support/temp_folder.h"

namespace corvessa::testing {

/// The gpg program with a home of its own: the other side of the conversation. Its agent ends with
/// this object.
class Gpg {
 public:
  Gpg();
  ~Gpg();
  Gpg(const Gpg&) = delete;
  Gpg& operator=(const Gpg&) = delete;

  /// Runs it with the arguments (shell words) on the input; its standard output, empty when it
  /// fails. What it said besides, status lines too, is in `said`.
  std::string Run(const std::string& arguments, std::string_view input = {});
  /// The same, but a failure throws what it said.
  std::string Make(const std::string& arguments, std::string_view input = {});

  /// Writes a file into its home; gives the path.
  std::string Write(const char* name, std::string_view content) const;

  /// Takes keys in. Secret ones are protected by the passphrase, which later runs answer with.
  void Import(std::string_view keys, std::string_view passphrase = "secret");
  /// Makes a key with an encryption subkey; `algorithm` is "rsa2048" or "ed25519"; `options` may
  /// set the clock and the like.
  void Generate(const std::string& address, const std::string& algorithm,
                const std::string& lifetime = "never", const std::string& options = {});
  std::string Fingerprint(const std::string& address);
  /// Revokes the whole key.
  void Revoke(const std::string& address);

  std::string said;
  /// The standard output of the last run, also when it failed.
  std::string output;
  int exit_code = 0;

 private:
  TempFolder home_;
};

}  // namespace corvessa::testing
