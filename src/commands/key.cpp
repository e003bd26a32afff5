#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <ostream>

#include "base/error.h"
#include "base/secret_string.h"
#include "base/text.h"
#include "commands/key_commands.h"

namespace corvessa {
namespace {

SecretString ReadPassphrase(const std::string& file) {
  Passphrases from_file;
  try {
    from_file.AddPassphrase("new=" + file);
  } catch (const Error& error) {
    throw CommandError{
        error.number == kInvalidArgument ? Outcome::kWrongUse : Outcome::kEnvironment,
        error.description};
  }
  return from_file.UsePassphrase("new", "");
}

SecretString AskPassphrase(UserPrompt& user, const std::string& prompt) {
  SecretString typed;
  switch (user.ReadSecret(prompt, typed)) {
    case UserPrompt::SecretResult::kRead:
      return typed;
    case UserPrompt::SecretResult::kTooLong:
      throw CommandError{Outcome::kWrongUse, "the passphrase is too long"};
    case UserPrompt::SecretResult::kAborted:
      break;
  }
  throw CommandError{Outcome::kRefused, "no passphrase given; no key was made"};
}

/// The passphrase for a new key: from the first line of `file` if one is named, from --passphrase,
/// or typed twice at the terminal.
SecretString ChoosePassphrase(std::string_view address, const std::string& file, Passphrases& given,
                              UserPrompt& user) {
  if (!file.empty()) return ReadPassphrase(file);
  if (const auto known = given.ChooseAddress({std::string(address)}, "")) {
    return given.UsePassphrase(*known, "");
  }
  if (!user.IsThere()) {
    throw CommandError{Outcome::kWrongUse,
                       "no terminal to ask for a passphrase; use --passphrase-file"};
  }
  SecretString first = AskPassphrase(user, "Passphrase for the new key: ");
  if (first.IsEmpty()) throw CommandError{Outcome::kRefused, "empty passphrase; no key was made"};
  const SecretString second = AskPassphrase(user, "Repeat the passphrase: ");
  if (first.View() != second.View()) {
    throw CommandError{Outcome::kRefused, "the passphrases differ; no key was made"};
  }
  return first;
}

/// Mail encrypted to an older key stays readable, but needs its passphrase.
void TellOfOlderKeys(const CommandContext& context, engine::OpenPgpEngine& engine,
                     const engine::KeyInfo& made) {
  std::vector<engine::KeyInfo> keys;
  const std::string& address = made.addresses.front();
  Check(engine.FindKeys(address, keys), engine);
  for (const engine::KeyInfo& key : keys) {
    if (!key.secret || key.fingerprint == made.fingerprint) continue;
    context.Tell(address + " already had the key " + key.fingerprint +
                 "; mail is encrypted to the new key from now on");
  }
}

/// A second key of an own address is rarely meant: mail goes to it from now on.
void AskAboutOtherKey(CommandContext& context, engine::OpenPgpEngine& engine,
                      const KeyOptions& options) {
  std::vector<engine::KeyInfo> keys;
  Check(engine.FindKeys(options.address, keys), engine);
  const auto own = std::ranges::find_if(keys, &engine::KeyInfo::secret);
  if (own == keys.end()) return;
  if (!Confirm(context, options,
               options.address + " has the key " + own->fingerprint + ". Create another?")) {
    throw CommandError{Outcome::kRefused, "no key was made"};
  }
}

Outcome Generate(CommandContext& context, const KeyOptions& options) {
  const auto data = context.OpenUserData();
  const auto engine = data->OpenEngine();
  AskAboutOtherKey(context, *engine, options);
  const SecretString passphrase = ChoosePassphrase(options.address, options.passphrase_file,
                                                   context.passphrases, context.prompt);
  engine::KeyInfo made;
  Check(engine->GenerateKey(options.name, options.address, passphrase.View(), made), *engine);
  KeyNotes(data->KeysFolder()).SetSource(made.fingerprint, "created here on " + Today());
  Print(context, made);
  TellOfOlderKeys(context, *engine, made);
  return Outcome::kDone;
}

Outcome Export(CommandContext& context, const KeyOptions& options) {
  const auto data = context.OpenUserData();
  const auto engine = data->OpenEngine();
  std::string armoured;
  Check(options.secret ? engine->ExportSecretKeys(options.address, armoured)
                       : engine->ExportPublicKeys(options.address, armoured),
        *engine);
  if (context.json) {
    context.WriteJson({{"keys", armoured}});
  } else {
    context.out << armoured;
  }
  return Outcome::kDone;
}

Outcome List(CommandContext& context) {
  const auto data = context.OpenUserData();
  const auto engine = data->OpenEngine();
  std::vector<engine::KeyInfo> keys;
  Check(engine->ListKeys(keys), *engine);
  for (const engine::KeyInfo& key : keys) Print(context, key);
  context.TellKeyTrouble(data->KeysFolder());
  return Outcome::kDone;
}

Outcome Publish(CommandContext& context, const KeyOptions& options) {
  const auto data = context.OpenUserData();
  if (EditionText(data->Registry(), "EngineUpdateServer").empty()) {
    throw CommandError{Outcome::kRefused,
                       "no key server is configured for publishing; set EngineUpdateServer"};
  }
  const auto engine = data->OpenEngine();
  Check(engine->PublishKeys(options.address), *engine);
  if (context.json) {
    context.WriteJson({{"address", options.address}, {"published", true}});
  } else {
    context.out << "The public key of " << ForDisplay(options.address) << " was published.\n";
  }
  return Outcome::kDone;
}

}  // namespace

void AddKeyCommands(CLI::App& app, CommandContext& context) {
  auto* const key = app.add_subcommand("key", "manage the key rings");
  key->require_subcommand(1);
  const auto options = std::make_shared<KeyOptions>();
  const auto add = [&](const char* name, const char* help, auto operation) {
    auto* const command = key->add_subcommand(name, help);
    OnRun(*command, context,
          [&context, options, operation] { return operation(context, *options); });
    return command;
  };
  const auto add_yes = [&](CLI::App* command) {
    command->add_flag("--yes", options->yes, "do not ask");
  };
  const auto add_who = [&](CLI::App* command) {
    command->add_option("who", options->address, "an email address or a fingerprint")
        ->required()
        ->type_name("ADDRESS|FINGERPRINT");
  };
  const auto add_address = [&](CLI::App* command) { AddAddressOption(*command, options->address); };

  auto* const generate = add("generate", "make a key pair for an address", Generate);
  add_address(generate);
  generate->add_option("--name", options->name, "the owner's name");
  generate
      ->add_option("--passphrase-file", options->passphrase_file,
                   "a file whose first line is the passphrase")
      ->type_name("FILE");
  add_yes(generate);
  auto* const import = add("import", "import keys into the rings", ImportKeys);
  import->add_option("files", options->files, "key files, armoured or binary; - for standard input")
      ->type_name("FILE");
  if (context.run_program) {
    import->add_flag("--from-gpg", options->from_gpg,
                     "import the keys of gpg, from its home folder if one is named");
    import->add_flag("--secret", options->secret,
                     "with --from-gpg, import the secret keys as well");
  }
  add_who(add("show", "show all that is known of a key", ShowKeys));
  auto* const verify =
      add("verify", "compare a key with the fingerprint its owner told you", VerifyKey);
  add_address(verify);
  verify->add_option("fingerprint", options->fingerprint, "the fingerprint")
      ->type_name("FINGERPRINT");
  auto* const remove = add("remove", "remove keys from the rings", RemoveKeys);
  add_who(remove);
  add_yes(remove);
  remove->add_flag("--secret", options->secret, "with --yes, remove own keys as well");
  auto* const exported = add("export", "write the public keys of an address", Export);
  add_address(exported);
  exported->add_flag("--secret", options->secret,
                     "export the secret keys, protected by their passphrase");
  add("list", "list all keys",
      [](CommandContext& shared, const KeyOptions&) { return List(shared); });
  add_address(
      add("publish", "publish the public keys of an own address on the key servers", Publish));
}

}  // namespace corvessa
