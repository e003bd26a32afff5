#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <system_error>
#include <tuple>

#include "base/error.h"
#include "base/secret_string.h"
#include "base/text.h"
#include "commands/columns.h"
#include "commands/command_context.h"

namespace corvessa {
namespace {

struct KeyOptions {
  std::string address;
  std::string name;
  std::string passphrase_file;
  std::vector<std::string> files;
  bool secret = false;
};

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

SecretString AskPassphrase(SecretPrompt& user, const std::string& prompt) {
  SecretString typed;
  switch (user.ReadSecret(prompt, typed)) {
    case SecretPrompt::SecretResult::kRead:
      return typed;
    case SecretPrompt::SecretResult::kTooLong:
      throw CommandError{Outcome::kWrongUse, "the passphrase is too long"};
    case SecretPrompt::SecretResult::kAborted:
      break;
  }
  throw CommandError{Outcome::kRefused, "no passphrase given; no key was made"};
}

/// The passphrase for a new key: from the first line of `file` if one is named, from --passphrase,
/// or typed twice at the terminal.
SecretString ChoosePassphrase(std::string_view address, const std::string& file, Passphrases& given,
                              SecretPrompt& user) {
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

/// The passphrase of an existing key: from --passphrase for one of its addresses, or typed at the
/// terminal. Nothing without either.
std::optional<SecretString> FindPassphrase(const std::vector<std::string>& addresses,
                                           const std::string& prompt, Passphrases& given,
                                           SecretPrompt& user) {
  if (const auto known = given.ChooseAddress(addresses, prompt)) {
    return given.UsePassphrase(*known, prompt);
  }
  SecretString typed;
  const bool read =
      user.IsThere() && user.ReadSecret(prompt, typed) == SecretPrompt::SecretResult::kRead;
  return read ? std::optional(typed) : std::nullopt;
}

void CheckStatus(platform::EngineStatus status, const std::string& reason) {
  if (status == 0) return;
  namespace answer = platform::engine_status;
  const bool is_environment = status == answer::kKeyStoreTrouble || status == answer::kIoTrouble;
  const Outcome outcome = status == answer::kInvalidKey ? Outcome::kWrongUse
                          : is_environment              ? Outcome::kEnvironment
                                                        : Outcome::kRefused;
  throw CommandError{outcome, reason};
}

/// Throws CommandError with the engine's error text.
void Check(platform::EngineStatus status, platform::IEngine& engine) {
  CheckStatus(status, status == 0 ? std::string() : WithoutFullStop(engine.GetEngineLastError()));
}

std::string FormatDate(std::int64_t seconds) {
  using namespace std::chrono;
  const year_month_day date(floor<days>(sys_seconds(std::chrono::seconds(seconds))));
  char text[32];
  const int size = std::snprintf(text, sizeof text, "%04d-%02u-%02u", int{date.year()},
                                 unsigned{date.month()}, unsigned{date.day()});
  return {text, static_cast<std::size_t>(size)};
}

std::string DescribeValidity(const engine::KeyInfo& key) {
  if (key.revoked) return "revoked";
  if (key.expired) return "expired";
  const std::string validity =
      key.expires == 0 ? "valid" : "valid until " + FormatDate(key.expires);
  return key.encrypts ? validity : validity + ", cannot encrypt";
}

void Print(const CommandContext& context, const engine::KeyInfo& key) {
  std::ostream& out = context.out;
  out << key.fingerprint << "  " << (key.secret ? "own" : "public")
      << (key.open ? ", without passphrase" : "") << "  " << key.algorithm << "  "
      << FormatDate(key.created) << "  " << DescribeValidity(key) << "\n";
  for (const std::string& user : key.user_ids) {
    PrintField(out, "    ", FieldText(user), context.OutputColumns(), 6);
  }
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

Outcome Generate(CommandContext& context, const KeyOptions& options) {
  const auto data = context.OpenUserData();
  const auto engine = data->OpenEngine();
  const SecretString passphrase = ChoosePassphrase(options.address, options.passphrase_file,
                                                   context.passphrases, context.prompt);
  engine::KeyInfo made;
  Check(engine->GenerateKey(options.name, options.address, passphrase.View(), made), *engine);
  Print(context, made);
  TellOfOlderKeys(context, *engine, made);
  return Outcome::kDone;
}

/// The one of an address's keys that mail is encrypted to: own ones first, then the newest.
const engine::KeyInfo& EncryptionKey(const std::vector<engine::KeyInfo>& keys) {
  const auto rank = [&](const engine::KeyInfo& key) {
    return std::tuple(!key.revoked && !key.expired, key.secret, key.created);
  };
  return *std::ranges::max_element(keys, {}, rank);
}

/// A key can contain any address; only the user can tell whether it belongs to that person. Reports
/// each address once that an imported key has gained and that another key of the rings has.
void TellOfSharedAddresses(const CommandContext& context, engine::OpenPgpEngine& engine,
                           const std::vector<engine::KeyInfo>& imported) {
  std::set<std::string> told;
  for (const engine::KeyInfo& key : imported) {
    for (const std::string& address : key.new_addresses) {
      std::vector<engine::KeyInfo> keys;
      Check(engine.FindKeys(address, keys), engine);
      const auto other = std::ranges::find_if(
          keys, [&](const engine::KeyInfo& found) { return found.fingerprint != key.fingerprint; });
      if (other == keys.end() || !told.insert(address).second) continue;
      context.Tell("the key " + key.fingerprint + " contains " + address +
                   ", which also has the key " + other->fingerprint + "; mail is encrypted to " +
                   EncryptionKey(keys).fingerprint);
    }
  }
}

void ImportFile(CommandContext& context, engine::OpenPgpEngine& engine, const std::string& file,
                const std::string& content) {
  bool lacks_passphrase = false;
  const auto ask = [&](const std::string& fingerprint, const std::vector<std::string>& addresses) {
    auto passphrase =
        FindPassphrase(addresses, "Passphrase of the secret key " + fingerprint + ": ",
                       context.passphrases, context.prompt);
    lacks_passphrase = !passphrase;
    return passphrase;
  };
  std::vector<engine::KeyInfo> imported;
  const auto status = engine.ImportKeys(content, ask, imported);
  const std::string reason = file + ": " + WithoutFullStop(engine.GetEngineLastError());
  for (const engine::KeyInfo& key : imported) {
    Print(context, key);
    if (!key.open) continue;
    context.Tell("the secret key " + key.fingerprint +
                 " has no passphrase: anyone who can read the profile can use it. The add-in still "
                 "asks for one; type anything");
  }
  TellOfSharedAddresses(context, engine, imported);
  if (status != 0 && lacks_passphrase) {
    throw CommandError{Outcome::kRefused,
                       reason + "; give it with --passphrase ADDRESS=FILE or at a terminal"};
  }
  CheckStatus(status, reason);
}

Outcome Import(CommandContext& context, const KeyOptions& options) {
  std::vector<std::string> contents;
  for (const std::string& file : options.files) contents.push_back(ReadWholeFile(file));
  const auto data = context.OpenUserData();
  const auto engine = data->OpenEngine();
  for (std::size_t i = 0; i < contents.size(); ++i) {
    ImportFile(context, *engine, options.files[i], contents[i]);
  }
  return Outcome::kDone;
}

Outcome Export(CommandContext& context, const KeyOptions& options) {
  const auto data = context.OpenUserData();
  const auto engine = data->OpenEngine();
  std::string armoured;
  Check(options.secret ? engine->ExportSecretKeys(options.address, armoured)
                       : engine->ExportPublicKeys(options.address, armoured),
        *engine);
  context.out << armoured;
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
  context.out << "The public key of " << ForDisplay(options.address) << " was published.\n";
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
  const auto add_address = [&](CLI::App* command) { AddAddressOption(*command, options->address); };

  auto* const generate = add("generate", "make a key pair for an address", Generate);
  add_address(generate);
  generate->add_option("--name", options->name, "the owner's name");
  generate
      ->add_option("--passphrase-file", options->passphrase_file,
                   "a file whose first line is the passphrase")
      ->type_name("FILE");
  auto* const import = add("import", "import keys into the rings", Import);
  import->add_option("files", options->files, "key files, armoured or binary; - for standard input")
      ->required()
      ->type_name("FILE");
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
