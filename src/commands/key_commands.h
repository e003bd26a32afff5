#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "commands/command_context.h"
#include "commands/key_notes.h"
#include "engine/engine.h"

/// What the key commands share, and those that are more than a call of the engine.
namespace corvessa {

struct KeyOptions {
  std::string address;
  std::string name;
  std::string fingerprint;
  std::string passphrase_file;
  /// With from_gpg, the home folder of gpg; none for its usual one.
  std::vector<std::string> files;
  bool from_gpg = false;
  bool secret = false;
  bool yes = false;
};

/// From files or from gpg's key rings.
Outcome ImportKeys(CommandContext& context, const KeyOptions& options);
/// All that is known of the keys of an address or fingerprint.
Outcome ShowKeys(CommandContext& context, const KeyOptions& options);
/// Compares the key of an address with the fingerprint that its owner has told the user.
Outcome VerifyKey(CommandContext& context, const KeyOptions& options);
Outcome RemoveKeys(CommandContext& context, const KeyOptions& options);

/// Throws CommandError with the reason unless the status is 0.
void CheckStatus(platform::EngineStatus status, const std::string& reason);
/// The same with the engine's error text.
void Check(platform::EngineStatus status, platform::IEngine& engine);

/// The keys of an address or fingerprint. Throws CommandError (refused) if there is none.
std::vector<engine::KeyInfo> RequireKeys(const CommandContext& context, UserData& data,
                                         engine::OpenPgpEngine& engine, const std::string& who);
/// The one of an address's keys that mail is encrypted to: own ones first, then the newest.
const engine::KeyInfo& EncryptionKey(const std::vector<engine::KeyInfo>& keys);

/// Asks a question that is answered by yes or no; everything but "y" and "yes" is no. True without
/// asking if the user has agreed beforehand. Throws CommandError (wrong use) without a user.
bool Confirm(CommandContext& context, const KeyOptions& options, const std::string& question);

/// As FormatDate.
std::string Today();
/// "valid", "valid until 2027-01-01", "revoked" and so on.
std::string DescribeValidity(const OutputStyle& style, const engine::KeyInfo& key);
Mark ValidityMark(const engine::KeyInfo& key);
/// A fingerprint in groups of four digits, for people to compare.
std::string InGroups(const std::string& fingerprint);
/// A line for the key and one for each of its user IDs, or with --json an object.
void Print(CommandContext& context, const engine::KeyInfo& key);
/// fingerprint, userIDs, addresses, algorithm, created, expires (seconds since 1970, null for
/// never), secret, withoutPassphrase, revoked, expired, encrypts.
nlohmann::json DescribeKey(const engine::KeyInfo& key);

}  // namespace corvessa
