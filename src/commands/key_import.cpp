#include <algorithm>
#include <filesystem>
#include <set>

#include "base/text.h"
#include "commands/key_commands.h"

namespace corvessa {
namespace {

/// One import command at work.
class Import {
 public:
  explicit Import(CommandContext& context)
      : context_(context),
        data_(context.OpenUserData()),
        engine_(data_->OpenEngine()),
        notes_(data_->KeysFolder()) {}

  /// `from` names the source to the user. Throws CommandError if nothing or not all could be taken.
  void Take(const std::string& from, const std::string& content) {
    bool lacks_passphrase = false;
    const auto ask = [&](const std::string& fingerprint,
                         const std::vector<std::string>& addresses) {
      auto passphrase =
          FindPassphrase(addresses, "Passphrase of the secret key " + fingerprint + ": ");
      lacks_passphrase = !passphrase;
      return passphrase;
    };
    std::vector<engine::KeyInfo> imported;
    const auto status = engine_->ImportKeys(content, ask, imported);
    const std::string reason = from + ": " + WithoutFullStop(engine_->GetEngineLastError());
    for (const engine::KeyInfo& key : imported) Tell(key);
    NoteSource(imported, from);
    TellOfSharedAddresses(imported);
    if (status != 0 && lacks_passphrase) {
      throw CommandError{Outcome::kRefused,
                         reason + "; give it with --passphrase ADDRESS=FILE or at a terminal"};
    }
    CheckStatus(status, reason);
  }

 private:
  /// From --passphrase for one of the key's addresses, or typed at the terminal. Nothing without
  /// either.
  std::optional<SecretString> FindPassphrase(const std::vector<std::string>& addresses,
                                             const std::string& prompt) {
    if (const auto known = context_.passphrases.ChooseAddress(addresses, prompt)) {
      return context_.passphrases.UsePassphrase(*known, prompt);
    }
    SecretString typed;
    const bool read = context_.prompt.IsThere() &&
                      context_.prompt.ReadSecret(prompt, typed) == UserPrompt::SecretResult::kRead;
    return read ? std::optional(typed) : std::nullopt;
  }

  void NoteSource(const std::vector<engine::KeyInfo>& imported, const std::string& from) {
    std::vector<std::string> fingerprints;
    for (const engine::KeyInfo& key : imported) fingerprints.push_back(key.fingerprint);
    const std::string name = from == "-" ? "standard input" : from;
    notes_.AddSource(fingerprints, "imported from " + name + " on " + Today());
  }

  void Tell(const engine::KeyInfo& key) {
    Print(context_, key);
    if (!key.open) return;
    context_.Tell("the secret key " + key.fingerprint +
                  " has no passphrase: anyone who can read the profile can use it. The add-in "
                  "still asks for one; type anything");
  }

  /// A key can contain any address; only the user can tell whether it belongs to that person.
  /// Reports each address once that an imported key has gained and that another key of the rings
  /// has, or whose owner was compared with another key.
  void TellOfSharedAddresses(const std::vector<engine::KeyInfo>& imported) {
    std::set<std::string> told;
    for (const engine::KeyInfo& key : imported) {
      for (const std::string& address : key.new_addresses) {
        std::vector<engine::KeyInfo> keys;
        Check(engine_->FindKeys(address, keys), *engine_);
        TellOfComparison(address, key);
        const auto other = std::ranges::find_if(keys, [&](const engine::KeyInfo& found) {
          return found.fingerprint != key.fingerprint;
        });
        if (other == keys.end() || !told.insert(address).second) continue;
        context_.Tell("the key " + key.fingerprint + " contains " + address +
                      ", which also has the key " + other->fingerprint + "; mail is encrypted to " +
                      EncryptionKey(keys).fingerprint);
      }
    }
  }

  void TellOfComparison(const std::string& address, const engine::KeyInfo& key) {
    const auto comparison = notes_.FindComparison(address);
    if (!comparison || comparison->fingerprint == key.fingerprint) return;
    context_.Tell("you compared another key of " + address + " on " + comparison->date +
                  "; compare the new one with \"key verify " + address + "\"");
  }

  CommandContext& context_;
  std::unique_ptr<UserData> data_;
  std::shared_ptr<engine::OpenPgpEngine> engine_;
  KeyNotes notes_;
};

/// What gpg writes to its standard output. It asks the user itself for what it needs.
std::string AskGpg(const CommandContext& context, const KeyOptions& options,
                   const char* operation) {
  std::vector<std::string> arguments{"gpg", "--quiet"};
  if (!options.files.empty()) {
    arguments.emplace_back("--homedir");
    arguments.push_back(options.files.front());
  }
  arguments.emplace_back(operation);
  ProgramResult result = context.run_program(arguments);
  if (result.exit_code != 0) throw CommandError{Outcome::kRefused, "gpg failed; nothing was taken"};
  if (result.output.empty()) throw CommandError{Outcome::kRefused, "gpg has no such keys there"};
  return std::move(result.output);
}

Outcome ImportFromGpg(CommandContext& context, const KeyOptions& options) {
  const bool names_folder =
      options.files.size() == 1 && std::filesystem::is_directory(options.files.front());
  if (!options.files.empty() && !names_folder) {
    throw CommandError{Outcome::kWrongUse, "--from-gpg takes one folder, gpg's home, or none"};
  }
  const std::string keys = AskGpg(context, options, "--export");
  Import import(context);
  import.Take("gpg", keys);
  if (options.secret) import.Take("gpg", AskGpg(context, options, "--export-secret-keys"));
  return Outcome::kDone;
}

}  // namespace

Outcome ImportKeys(CommandContext& context, const KeyOptions& options) {
  if (options.from_gpg) return ImportFromGpg(context, options);
  if (options.files.empty()) {
    throw CommandError{Outcome::kWrongUse, context.run_program ? "name key files, or use --from-gpg"
                                                               : "name key files"};
  }
  std::vector<std::string> contents;
  for (const std::string& file : options.files) contents.push_back(ReadWholeFile(file));
  Import import(context);
  for (std::size_t i = 0; i < contents.size(); ++i) import.Take(options.files[i], contents[i]);
  return Outcome::kDone;
}

}  // namespace corvessa
