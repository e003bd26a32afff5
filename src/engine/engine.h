#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/secret_string.h"
#include "platform/engine.h"

namespace corvessa::engine {

/// A key of the rings as the user is shown it.
struct KeyInfo {
  std::string fingerprint;  ///< capital hexadecimal
  std::vector<std::string> user_ids;
  std::vector<std::string> addresses;
  std::string algorithm;     ///< of the primary key, as "EDDSA" or "RSA 3072"
  std::int64_t created = 0;  ///< seconds since 1970
  std::int64_t expires = 0;  ///< seconds since 1970; 0 never
  bool secret = false;       ///< the secret key is here
  bool open = false;         ///< and some of it without a passphrase
  bool revoked = false;
  bool expired = false;
  bool unnamed = false;                         ///< no user ID of it is valid
  bool encrypts = false;                        ///< mail can be encrypted to it now
  std::vector<std::string> new_addresses = {};  ///< those that an import has added
  bool operator==(const KeyInfo&) const = default;
};

/// Asks the user for the passphrase of a secret key; nothing when the user gives none.
using AskPassphrase = std::function<std::optional<SecretString>(
    const std::string& fingerprint, const std::vector<std::string>& addresses)>;

/// The upkeep of the key rings. Statuses are the engine's: 0 done; the engine's last error says why
/// not.
class KeyUpkeep {
 public:
  virtual ~KeyUpkeep() = default;
  /// Makes an ed25519 key with a cv25519 subkey for "name <address>" (the address alone without a
  /// name), protected by the passphrase, and puts it into the rings. -6: the address is none.
  virtual platform::EngineStatus GenerateKey(std::string_view name, std::string_view address,
                                             std::string_view passphrase, KeyInfo& made) = 0;
  /// Adds public and secret keys, armoured or binary; keys that are there gain what is new. A
  /// secret key other than the one held of a known key takes its place if it proves itself: `ask`
  /// gives the passphrase that opens it, and its numbers fit. -4: such a key's passphrase is
  /// missing or wrong. -9: the data holds no key, or also some that are of a kind unknown here; the
  /// others were taken then and are in `imported`. Otherwise nothing is taken when it fails.
  virtual platform::EngineStatus ImportKeys(std::string_view data, const AskPassphrase& ask,
                                            std::vector<KeyInfo>& imported) = 0;
  /// Every public key of the address (or of the fingerprint), armoured. -13: there is none.
  virtual platform::EngineStatus ExportPublicKeys(std::string_view who, std::string& armoured) = 0;
  /// The same for secret keys, still protected by their passphrases.
  virtual platform::EngineStatus ExportSecretKeys(std::string_view who, std::string& armoured) = 0;
  /// Takes the keys of the address (or the one of the fingerprint) out of the rings, secret ones
  /// for good. -13: there is none.
  virtual platform::EngineStatus RemoveKeys(std::string_view who) = 0;
  virtual platform::EngineStatus ListKeys(std::vector<KeyInfo>& keys) = 0;
  /// Those of an address or a fingerprint; none is no failure.
  virtual platform::EngineStatus FindKeys(std::string_view who, std::vector<KeyInfo>& keys) = 0;
  /// Sends the public keys of an own address to every update server. -13: it has no secret key; -8:
  /// a server did not take them.
  virtual platform::EngineStatus PublishKeys(std::string_view address) = 0;
};

/// What a host tells the engine about itself.
struct EngineConfig {
  /// Where the key rings are kept; made when it is missing.
  std::filesystem::path rings_folder;
  /// Maps addresses and domains to additional decryption addresses; need not exist. Each line is
  /// "address or domain: address, address…", empty or a comment behind #.
  std::filesystem::path adk_file;
  /// Told what is wrong with that file, of which the add-in learns a status only; may be empty.
  std::function<void(std::string_view)> on_bad_adk_file = {};
  /// The local file that a path of the add-in means.
  std::function<std::filesystem::path(std::string_view)> local_path;
  /// A fresh temporary file's path in the add-in's terms.
  std::function<std::string()> new_temporary_path;
  /// What it gives is held while a message of so many bytes is decrypted, which its sender can have
  /// made to take for ever; the engine cannot break off. None is needed.
  std::function<std::shared_ptr<void>(std::uint64_t)> watch_decryption;
  /// Asked before an operation puts a file in its place or changes the rings: false when its caller
  /// has given it up, so that nothing changes behind the caller's back. Always allowed when empty.
  std::function<bool()> may_commit = {};
  /// How long key servers may take to answer one operation, all of them together.
  std::chrono::milliseconds key_server_time = std::chrono::seconds(10);
  /// Bytes hashed for each guess at the passphrase of a key that is made here: about 40 ms a
  /// packet.
  std::uint32_t passphrase_work = 16U << 20;
};

/// The engine as the add-in sees it, with the upkeep of its keys beside it. One thread uses it.
class OpenPgpEngine : public platform::IEngine, public KeyUpkeep {};

/// Throws Error (429) when the key rings cannot be opened.
std::shared_ptr<OpenPgpEngine> CreateOpenPgpEngine(EngineConfig config);

/// Makes engines of this configuration for the add-in.
std::unique_ptr<platform::EngineFactory> CreateEngineFactory(EngineConfig config);

platform::EngineStringVectorPtr CreateStringVector();

/// Why the rings in the folder cannot be read, or why keys may be missing from them (one is
/// damaged, empty or missing), in one line for the user; empty when they are whole. What is damaged
/// is noticed by an engine that reads the rings, so ask after its work.
std::string FindKeyTrouble(const std::filesystem::path& rings_folder);

}  // namespace corvessa::engine
