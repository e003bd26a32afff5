#pragma once

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include "support/shell.h"
#include "support/temp_folder.h"

namespace corvessa::testing {

/// The gpg program with a home of its own: the other side of the conversation. Its agent ends with
/// this object.
class Gpg {
 public:
  Gpg() {
    Write("passphrase", "secret");
    // Without the count the agent measures for seconds how slow it can make itself.
    Write("gpg-agent.conf", "allow-loopback-pinentry\ns2k-count 65536\n");
  }
  ~Gpg() {
    const std::string command = "gpgconf --homedir " + ShellPath(home_.Path()) + " --kill all";
    if (RunShell(command) != 0) std::abort();
  }
  Gpg(const Gpg&) = delete;
  Gpg& operator=(const Gpg&) = delete;

  /// Runs it with the arguments (shell words) on the input; its standard output, empty when it
  /// fails. What it said besides, status lines too, is in `said`.
  std::string Run(const std::string& arguments, std::string_view input = {}) {
    const std::string home = ShellPath(home_.Path());
    const std::string command =
        "gpg --homedir " + home +
        " --batch --yes --no-tty --quiet --no-auto-key-locate --trust-model always --status-fd 2"
        " --s2k-count 65536 --pinentry-mode loopback --passphrase-file " +
        home + "/passphrase " + arguments + " <" + Write("in", input) + " >" + home + "/out 2>" +
        home + "/said";
    exit_code = RunShell(command);
    output = ContentOf(home_ / "out");
    said = ContentOf(home_ / "said");
    return exit_code == 0 ? output : std::string();
  }
  /// The same, but a failure throws what it said.
  std::string Make(const std::string& arguments, std::string_view input = {}) {
    std::string made = Run(arguments, input);
    if (exit_code != 0) throw std::runtime_error(said);
    return made;
  }

  /// Writes a file into its home; gives the path for the shell.
  std::string Write(const char* name, std::string_view content) const {
    WriteContent(home_ / name, content);
    return ShellPath(home_ / name);
  }

  /// Takes keys in. Secret ones are protected by the passphrase, which later runs answer with.
  void Import(std::string_view keys, std::string_view passphrase = "secret") {
    Write("passphrase", passphrase);
    Make("--import", keys);
  }
  /// Makes a key with an encryption subkey; `algorithm` is "rsa2048" or "ed25519"; `options` may
  /// set the clock and the like.
  void Generate(const std::string& address, const std::string& algorithm,
                const std::string& lifetime = "never", const std::string& options = {}) {
    const std::string encryption = algorithm == "ed25519" ? "cv25519" : algorithm;
    Make(options + " --quick-gen-key 'Test <" + address + ">' " + algorithm + " cert,sign " +
         lifetime);
    Make(options + " --quick-add-key " + Fingerprint(address) + " " + encryption + " encr " +
         lifetime);
  }
  /// Binary.
  std::string PublicKey(const std::string& address) { return Make("--export " + address); }
  std::string SecretKey(const std::string& address) {
    return Make("--export-secret-keys " + address);
  }
  std::string Fingerprint(const std::string& address) {
    const std::string listing = Make("--with-colons --list-keys " + address);
    return listing.substr(listing.find_first_not_of(':', listing.find("\nfpr:") + 5), 40);
  }
  /// What revokes the whole key, armoured; gpg makes it with every key.
  std::string RevocationOf(const std::string& address) {
    std::string revocation =
        ContentOf(home_ / "openpgp-revocs.d" / (Fingerprint(address) + ".rev"));
    revocation.erase(0, revocation.find(":-----BEGIN") + 1);  // a colon against use by accident
    return revocation;
  }
  void Revoke(const std::string& address) { Make("--import", RevocationOf(address)); }

  std::string said;
  /// The standard output of the last run, also when it failed.
  std::string output;
  int exit_code = 0;

 private:
  TempFolder home_;
};

}  // namespace corvessa::testing
