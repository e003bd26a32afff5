#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>
#include <utility>

#include "base/text.h"
#include "commands/account_store.h"
#include "commands/columns.h"
#include "commands/key_commands.h"

namespace corvessa {
namespace {

constexpr std::size_t kFingerprintDigits = 40;

std::string DescribeSource(const KeyNotes& notes, const engine::KeyInfo& key) {
  const std::string source = notes.Source(key.fingerprint);
  return source.empty() ? "not recorded (found by a look-up, or taken by an older version)"
                        : source;
}

/// What the user knows of a key's owner by one of its addresses.
std::pair<Mark, std::string> DescribeComparison(const KeyNotes& notes, const std::string& address,
                                                const std::string& fingerprint) {
  const auto comparison = notes.FindComparison(address);
  if (!comparison) return {Mark::kWarning, "not compared; see \"key verify " + address + "\""};
  if (comparison->fingerprint == fingerprint) {
    return {Mark::kGood, "compared on " + comparison->date};
  }
  return {Mark::kBad, "not compared; on " + comparison->date + " you compared another key, " +
                          comparison->fingerprint};
}

/// As DescribeKey, with source and, by address, the date of the comparison or null.
nlohmann::json Describe(const KeyNotes& notes, const engine::KeyInfo& key) {
  nlohmann::json json = DescribeKey(key);
  json["source"] = notes.Source(key.fingerprint);
  json["compared"] = nlohmann::json::object();
  for (const std::string& address : key.addresses) {
    const bool is_compared = notes.IsCompared(address, key.fingerprint);
    json["compared"][address] =
        is_compared ? nlohmann::json(notes.FindComparison(address)->date) : nlohmann::json();
  }
  return json;
}

void ShowKey(CommandContext& context, const KeyNotes& notes, const engine::KeyInfo& key) {
  if (context.json) return context.ListJson(Describe(notes, key));
  const auto print = [&](std::string_view label, const std::string& text, Mark mark = Mark::kNone) {
    context.style.PrintField(context.out, label, mark, FieldText(text), context.OutputColumns());
  };
  context.out << InGroups(key.fingerprint) << "\n";
  for (const std::string& user : key.user_ids) {
    PrintField(context.out, "    ", FieldText(user), context.OutputColumns(), 14);
  }
  print("  Kind:       ", !key.secret ? "public key"
                          : key.open  ? "own key, without passphrase"
                                      : "own key, protected by a passphrase");
  print("  Algorithm:  ", key.algorithm);
  print("  Created:    ", context.style.DateText(key.created));
  print("  Validity:   ", DescribeValidity(context.style, key), ValidityMark(key));
  print("  Source:     ", DescribeSource(notes, key));
  if (key.secret) return;
  for (const std::string& address : key.addresses) {
    const auto [mark, text] = DescribeComparison(notes, address, key.fingerprint);
    print("  Compared:   ", address + ": " + text, mark);
  }
}

/// A fingerprint as people write it, with blanks, colons or "0x".
std::string ToFingerprint(std::string_view text) {
  std::string digits;
  if (text.starts_with("0x") || text.starts_with("0X")) text.remove_prefix(2);
  for (const char c : text) {
    if (c == ' ' || c == '\t' || c == ':' || c == '\r') continue;
    digits += c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c;
  }
  const bool is_one = digits.size() == kFingerprintDigits &&
                      digits.find_first_not_of("0123456789ABCDEF") == std::string::npos;
  if (is_one) return digits;
  throw CommandError{
      Outcome::kWrongUse,
      "a fingerprint has 40 digits from 0 to 9 and A to F; a shorter key ID does not "
      "identify a key"};
}

std::string AskFingerprint(CommandContext& context, const std::string& address) {
  if (!context.prompt.IsThere()) {
    throw CommandError{Outcome::kWrongUse, "no terminal to ask; give the fingerprint"};
  }
  const auto typed =
      context.prompt.ReadLine("Fingerprint that the owner of " + address + " told you: ");
  if (typed && Trim(*typed) == "?") {
    context.Tell("type the 40 digits that the owner reads to you, with or without blanks");
    return AskFingerprint(context, address);
  }
  if (!typed || Trim(*typed).empty()) {
    throw CommandError{Outcome::kRefused, "no fingerprint given; nothing was compared"};
  }
  return *typed;
}

/// An address whose own key is gone can neither sign nor read.
void TellOfAccountsWithoutKey(const CommandContext& context, UserData& data,
                              engine::OpenPgpEngine& engine) {
  for (const AccountEntry& account : AccountStore(data.Registry()).Accounts()) {
    std::vector<engine::KeyInfo> keys;
    Check(engine.FindKeys(account.address, keys), engine);
    if (std::ranges::any_of(keys, &engine::KeyInfo::secret)) continue;
    context.Tell(account.address +
                 " is secured but has no own key; create one with \"key generate " +
                 account.address + "\" or end it with \"account remove " + account.address + "\"");
  }
}

}  // namespace

Outcome ShowKeys(CommandContext& context, const KeyOptions& options) {
  const auto data = context.OpenUserData();
  const auto engine = data->OpenEngine();
  const auto keys = RequireKeys(context, *data, *engine, options.address);
  const KeyNotes notes(data->KeysFolder());
  for (const engine::KeyInfo& key : keys) ShowKey(context, notes, key);
  return Outcome::kDone;
}

Outcome VerifyKey(CommandContext& context, const KeyOptions& options) {
  const std::string address = AccountStore::AccountAddress(options.address);
  const auto data = context.OpenUserData();
  const auto engine = data->OpenEngine();
  const auto keys = RequireKeys(context, *data, *engine, address);
  const engine::KeyInfo& key = EncryptionKey(keys);
  const std::string given = ToFingerprint(
      options.fingerprint.empty() ? AskFingerprint(context, address) : options.fingerprint);
  if (given != key.fingerprint) {
    throw CommandError{Outcome::kRefused, "the fingerprints differ: the key of " + address +
                                              " here has " + InGroups(key.fingerprint) +
                                              "; do not use it until you know why"};
  }
  KeyNotes(data->KeysFolder()).SetCompared(address, {key.fingerprint, Today()});
  if (context.json) {
    context.WriteJson({{"fingerprint", key.fingerprint}, {"address", address}});
  } else {
    context.out << "The key of " << address << " was compared: " << InGroups(key.fingerprint)
                << "\n";
  }
  return Outcome::kDone;
}

Outcome RemoveKeys(CommandContext& context, const KeyOptions& options) {
  const auto data = context.OpenUserData();
  const auto engine = data->OpenEngine();
  const auto keys = RequireKeys(context, *data, *engine, options.address);
  // For a script, an object is a key that was removed.
  const auto print_keys = [&] {
    for (const engine::KeyInfo& key : keys) Print(context, key);
  };
  if (!context.json) print_keys();
  const bool is_secret = std::ranges::any_of(keys, &engine::KeyInfo::secret);
  // One word must not end what can never be read again.
  if (options.yes && is_secret && !options.secret) {
    throw CommandError{Outcome::kWrongUse,
                       "to remove an own key without a question, use --secret too"};
  }
  const std::string count = keys.size() == 1 ? "this key" : "these keys";
  const bool agreed =
      Confirm(context, options, "Remove " + count + "?") &&
      (!is_secret || Confirm(context, options,
                             "Without the own key, nobody can read what was encrypted to it, not "
                             "even you. Remove it for good?"));
  if (!agreed) throw CommandError{Outcome::kRefused, "nothing was removed"};
  Check(engine->RemoveKeys(options.address), *engine);
  KeyNotes notes(data->KeysFolder());
  for (const engine::KeyInfo& key : keys) notes.ForgetSource(key.fingerprint);
  if (context.json) {
    print_keys();
  } else {
    context.out << (keys.size() == 1 ? "The key was removed.\n" : "The keys were removed.\n");
  }
  TellOfAccountsWithoutKey(context, *data, *engine);
  return Outcome::kDone;
}

}  // namespace corvessa
