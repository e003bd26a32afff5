#include "support/gpg.h"

#include <cstdlib>
#include <stdexcept>

namespace corvessa::testing {

Gpg::Gpg() {
  Write("passphrase", "secret");
  // Without the count the agent measures for seconds how slow it can make itself.
  Write("gpg-agent.conf", "allow-loopback-pinentry\ns2k-count 65536\n");
}

Gpg::~Gpg() {
  const std::string command = "gpgconf --homedir " + home_.Path().string() + " --kill all";
  if (std::system(command.c_str()) != 0) std::abort();
}

std::string Gpg::Run(const std::string& arguments, std::string_view input) {
  const std::string home = home_.Path().string();
  const std::string command =
      "gpg --homedir " + home +
      " --batch --yes --no-tty --quiet --no-auto-key-locate --trust-model always --status-fd 2"
      " --s2k-count 65536 --pinentry-mode loopback --passphrase-file " +
      home + "/passphrase " + arguments + " <" + Write("in", input) + " >" + home + "/out 2>" +
      home + "/said";
  exit_code = std::system(command.c_str());
  output = ContentOf(home_ / "out");
  said = ContentOf(home_ / "said");
  return exit_code == 0 ? output : std::string();
}

std::string Gpg::Make(const std::string& arguments, std::string_view input) {
  std::string made = Run(arguments, input);
  if (exit_code != 0) throw std::runtime_error(said);
  return made;
}

std::string Gpg::Write(const char* name, std::string_view content) const {
  WriteContent(home_ / name, content);
  return (home_ / name).string();
}

void Gpg::Import(std::string_view keys, std::string_view passphrase) {
  Write("passphrase", passphrase);
  Make("--import", keys);
}

void Gpg::Generate(const std::string& address, const std::string& algorithm,
                   const std::string& lifetime, const std::string& options) {
  const std::string encryption = algorithm == "ed25519" ? "cv25519" : algorithm;
  Make(options + " --quick-gen-key 'Test <" + address + ">' " + algorithm + " cert,sign " +
       lifetime);
  Make(options + " --quick-add-key " + Fingerprint(address) + " " + encryption + " encr " +
       lifetime);
}

std::string Gpg::Fingerprint(const std::string& address) {
  const std::string listing = Make("--with-colons --list-keys " + address);
  return listing.substr(listing.find_first_not_of(':', listing.find("\nfpr:") + 5), 40);
}

void Gpg::Revoke(const std::string& address) {
  // gpg makes a revocation with every key and puts a colon before it against use by accident.
  std::string revocation = ContentOf(home_ / "openpgp-revocs.d" / (Fingerprint(address) + ".rev"));
  revocation.erase(revocation.find(":-----BEGIN"), 1);
  Make("--import", revocation);
}

}  // namespace corvessa::testing
