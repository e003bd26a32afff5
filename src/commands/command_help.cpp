#include "commands/command_help.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>
#include <string>

#include "commands/columns.h"

namespace corvessa {
namespace {

/// As wide as the terminals that man pages are written for.
constexpr int kColumns = 80;
constexpr std::size_t kIndent = 2;
constexpr std::size_t kLongestTerm = 12;

void PrintRows(std::ostream& out, const HelpSection& section) {
  out << "\n" << section.title << ":\n";
  std::size_t width = 0;
  for (const HelpRow& row : section.rows) width = std::max(width, row.term.size());
  for (const HelpRow& row : section.rows) {
    const std::string term = "  " + std::string(row.term);
    if (width > kLongestTerm) {
      out << term << "\n";
      PrintField(out, "      ", row.meaning, kColumns, 6);
    } else {
      const std::size_t indent = width + 2 * kIndent;
      PrintField(out, PadToColumns(term, static_cast<int>(indent)), row.meaning, kColumns, indent);
    }
  }
}

void PrintExamples(std::ostream& out, const CommandHelp& help, const std::string& program) {
  if (help.examples.empty()) return;
  out << "\nExamples:\n";
  for (const HelpRow& example : help.examples) {
    out << "  " << program << " " << example.term << "\n";
    PrintField(out, "      ", example.meaning, kColumns, 6);
  }
}

std::string FormatHelp(const CommandHelp& help, const std::string& program) {
  std::ostringstream out;
  for (const std::string& line : WrapToColumns(help.text, kColumns)) out << line << "\n";
  PrintExamples(out, help, program);
  for (const HelpSection& section : help.sections) PrintRows(out, section);
  std::string text = out.str();
  if (!text.empty()) text.pop_back();
  return text;
}

CLI::App& FindCommand(CLI::App& app, std::string_view path) {
  CLI::App* found = &app;
  std::istringstream words{std::string(path)};
  for (std::string word; words >> word;) found = found->get_subcommand(word);
  return *found;
}

}  // namespace

void AddHelp(CLI::App& app, const std::vector<CommandHelp>& texts) {
  for (const CommandHelp& help : texts) {
    // Formatted only when it is shown: most runs show none.
    FindCommand(app, help.command).footer([help, program = app.get_name()] {
      return FormatHelp(help, program);
    });
  }
}

std::vector<CommandHelp> KeyAndAccountHelp() {
  return {
      {"key",
       "A key pair is what protects mail: the public key, which you give to everybody who writes "
       "to "
       "you, encrypts; the secret key, which you keep, decrypts and signs. The key rings hold your "
       "own key pairs and the public keys of other people."},
      {"key generate",
       "Makes a key pair and asks for its passphrase twice. Nobody can recover a forgotten "
       "passphrase, and mail encrypted to the key cannot be read without it.",
       {{"key generate you@example.org --name \"Your Name\"", "asks for the passphrase"}}},
      {"key import",
       "Takes keys from files, armoured or binary, and prints them. A key can name any address: "
       "compare its fingerprint with its owner before you rely on it, see \"key verify\".\n"
       "A secret key of an address that has a public key here needs its passphrase, so that a "
       "forged "
       "one cannot replace yours.",
       {{"key import friend.asc", "takes the public key that a friend has sent"}}},
      {"key show",
       "Shows the fingerprint in groups, the names and addresses, the dates, the algorithm, where "
       "the key came from, and whether you have compared it with its owner."},
      {"key verify",
       "Compares the key that mail to the address is encrypted to with the fingerprint that its "
       "owner "
       "told you in another way than by mail, such as on the telephone, and remembers the result. "
       "Without a fingerprint, asks for it. If the address gets another key later, you are told to "
       "compare again.",
       {{"key verify friend@example.com \"8DC4 3F1B 09A6 E2D5 7C18 4B90 A3E7 61F2 5D0C B84A\"",
         "compares the key of the friend"}}},
      {"key remove",
       "Asks before it removes keys, and twice for your own: mail encrypted to a removed key can "
       "never "
       "be read again."},
      {"key export",
       "Writes keys in armour, which can be sent in a mail or as a file.",
       {{"key export you@example.org > my-key.asc",
         "writes your public key to a file that you can give to anybody"},
        {"key export you@example.org --secret > backup.asc",
         "writes a backup of the secret key, still protected by its passphrase"}}},
      {"key list",
       "A line for each key: its fingerprint, \"own\" for a key pair, the algorithm, the day it "
       "was "
       "created and whether it is valid; below it the names and addresses."},
      {"key publish",
       "Sends your public key to the key servers in the setting EngineUpdateServer. What has been "
       "published cannot be withdrawn."},
      {"account",
       "Mail is decrypted, signed and encrypted for secured addresses. One of them may sign."},
      {"account add",
       "Secures an address of yours. Make its key with \"key generate\", or import it.",
       {{"account add you@example.org --sign", "secures the address and signs with its key"}}},
      {"account remove", "The keys of the address remain; \"key remove\" removes them."},
      {"account list", "A line for each address; \"signs\" follows the one that signs."}};
}

}  // namespace corvessa
