#include "support/gpg.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/wait.h>

namespace corvessa::testing {
namespace {

/// For the shell; the arguments are the tests' own and hold no quotation mark.
std::string Quoted(const std::string& argument) {
  return "'" + argument + "' ";
}

}  // namespace

Gpg::Gpg() {
  Write("passphrase", "");
  // Without it the agent measures for seconds how slow it can make itself.
  Write("gpg-agent.conf", "s2k-count 65536\n");
}

Gpg::~Gpg() {
  const std::string command =
      "gpgconf --homedir " + Quoted(home_.Path().string()) + "--kill all 2>/dev/null";
  EXPECT_EQ(std::system(command.c_str()), 0);
}

std::string Gpg::Write(std::string_view name, std::string_view content) {
  WriteContent(Path(name), content);
  return Path(name);
}

Gpg::Outcome Gpg::Run(const std::vector<std::string>& arguments) {
  std::string command = "gpg --homedir " + Quoted(home_.Path().string()) +
                        "--batch --yes --no-auto-key-locate --trust-model always --status-fd 2 "
                        "--pinentry-mode loopback --passphrase-file " +
                        Quoted(Path("passphrase"));
  for (const std::string& argument : arguments) command += Quoted(argument);
  command += ">" + Quoted(Path("output")) + "2>" + Quoted(Path("messages")) + "</dev/null";
  const int status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ContentOf(Path("output")),
          ContentOf(Path("messages"))};
}

void Gpg::Import(std::string_view keys, std::string_view passphrase) {
  Write("passphrase", passphrase);
  const Outcome outcome = Run({"--import", Write("keys", keys)});
  EXPECT_EQ(outcome.exit_code, 0) << outcome.messages;
}

Gpg::Outcome Gpg::Read(std::string_view message) {
  return Run({"--decrypt", Write("message", message)});
}

}  // namespace corvessa::testing
