#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "support/temp_folder.h"

namespace corvessa::engine {

/// The gpg program with a private home: the other side of the conversation. Its keys have the
/// passphrase `secret`. Ends its agent with itself.
class Gpg {
 public:
  Gpg();
  ~Gpg();
  Gpg(const Gpg&) = delete;
  Gpg& operator=(const Gpg&) = delete;

  /// Runs gpg with the arguments (shell words) on the input; its standard output, empty when it
  /// fails. What it said besides is in `said`.
  std::string Run(const std::string& arguments, std::string_view input = {});
  /// Makes a key with an encryption subkey; `algorithm` is "rsa2048" or "ed25519"; `options` may
  /// set the clock and the like.
  void Generate(const std::string& address, const std::string& algorithm,
                const std::string& lifetime = "never", const std::string& options = {});
  void Import(const std::string& keys);
  std::string Fingerprint(const std::string& address);
  /// Revokes the whole key.
  void Revoke(const std::string& address);

  std::string said;
  int exit_code = 0;

 private:
  std::string path(const char* name) const { return (home_ / name).string(); }
  testing::TempFolder home_;
};

}  // namespace corvessa::engine
