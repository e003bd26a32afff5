#include "engine/gpg.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "engine/profile.h"

namespace corvessa::engine {
namespace {

void Shell(const std::string& command) {
  if (std::system(command.c_str()) == -1) throw std::runtime_error("no shell");
}

}  // namespace

Gpg::Gpg() {
  std::ofstream(home_ / "gpg-agent.conf") << "allow-loopback-pinentry\ns2k-count 65536\n";
}

Gpg::~Gpg() {
  Shell("GNUPGHOME=" + home_.Path().string() + " gpgconf --kill all");
}

std::string Gpg::Run(const std::string& arguments, std::string_view input) {
  std::ofstream(path("in"), std::ios::binary) << input;
  exit_code =
      std::system(("gpg --homedir " + home_.Path().string() +
                   " --batch --yes --no-tty --quiet --trust-model always --pinentry-mode loopback"
                   " --s2k-count 65536 --passphrase secret " +
                   arguments + " <" + path("in") + " >" + path("out") + " 2>" + path("said"))
                      .c_str());
  said = ReadFile(path("said"));
  return exit_code == 0 ? ReadFile(path("out")) : std::string();
}

void Gpg::Generate(const std::string& address, const std::string& algorithm,
                   const std::string& lifetime, const std::string& options) {
  const std::string encryption = algorithm == "ed25519" ? "cv25519" : algorithm;
  Run(options + " --quick-gen-key 'Test <" + address + ">' " + algorithm + " cert,sign " +
      lifetime);
  if (exit_code != 0) throw std::runtime_error(said);
  Run(options + " --quick-add-key " + Fingerprint(address) + " " + encryption + " encr " +
      lifetime);
  if (exit_code != 0) throw std::runtime_error(said);
}

void Gpg::Import(const std::string& keys) {
  Run("--import", keys);
  if (exit_code != 0) throw std::runtime_error(said);
}

std::string Gpg::Fingerprint(const std::string& address) {
  const std::string listing = Run("--with-colons --list-keys " + address);
  return listing.substr(listing.find_first_not_of(':', listing.find("\nfpr:") + 5), 40);
}

void Gpg::Revoke(const std::string& address) {
  // gpg makes a revocation with every key and puts a colon before it against use by accident.
  std::string revocation = ReadFile(home_ / "openpgp-revocs.d" / (Fingerprint(address) + ".rev"));
  revocation.erase(revocation.find(":-----BEGIN"), 1);
  Import(revocation);
}

}  // namespace corvessa::engine
