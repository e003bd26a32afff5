#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/secret_string.h"
#include "engine/key_rings.h"
#include "engine/rnp_handles.h"
#include "platform/engine.h"

namespace corvessa::engine {

/// The keys at hand: those of the rings, loaded into the library when they are first needed, those
/// that key servers gave for this session, and the secret keys that are unlocked.
///
/// Secret keys are loaded when somebody tries to unlock them and go again when all are locked.
class KeyStore {
 public:
  explicit KeyStore(const std::filesystem::path& folder);
  ~KeyStore();

  rnp_ffi_t ffi() const { return ffi_.get(); }
  KeyRings& rings() { return rings_; }

  /// Fails for a key that is not there: with -13, or, when that proves nothing because the rings
  /// are not whole, with -7 and the reason.
  [[noreturn]] void FailMissing(std::string message, platform::EngineTrouble trouble = {}) const;

  /// To be called at the start of an operation: notices rings that another process changed.
  void Refresh();

  /// The public key of a ring entry, also of one that only the secret ring holds, as it may be
  /// after a kill between the writing of the two, and nothing secret whatever the rings hold.
  std::string ReadPublic(const RingEntry& entry) const;
  /// Puts keys into the rings, as KeyRings::Store does.
  void Store(const KeyRings::Lock& lock, const std::vector<KeyRings::NewKey>& keys);

  /// Takes keys out of the rings, as KeyRings::Remove does.
  void Remove(const KeyRings::Lock& lock, const std::vector<const RingEntry*>& entries);

  /// The best usable key for the address that may do "encrypt" or "sign": own keys first, then the
  /// rings' others, then looked-up ones; the newest of each. Empty when there is none. It may be of
  /// another store of the library than ffi() and lives until the next Refresh.
  Key FindUsable(std::string_view address, const char* usage);
  /// Some key in the rings carries the address, usable or not.
  bool IsInRings(std::string_view address) const { return !rings_.FindByAddress(address).empty(); }
  bool HasSecret(std::string_view address) const;
  /// The rings hold the secret key with that fingerprint.
  bool IsOwn(const std::string& fingerprint) const;

  /// Loads the rings' public keys that hold the key ID; false when there is none.
  bool LoadByKeyId(std::string_view key_id);
  /// The primary key that a loaded key belongs to, or is; empty when that is not loaded.
  Key PrimaryOf(rnp_key_handle_t key) const;

  using Wanted = std::function<bool(rnp_key_handle_t)>;
  /// Takes the public half of a key from a key server into this session if it is what was wanted,
  /// to encrypt to that address, whatever other names its owner gave it. Without an address it only
  /// verifies: the sender of a mail chose the key. It is never put into a ring. A key of the rings
  /// gets the subkeys and signatures that are new, but no name: its owner could give it somebody
  /// else's there.
  void AddLookedUp(std::string_view data, const std::string& address, const Wanted& wanted);
  /// The key came from a key server and is in no ring.
  bool IsOnlyLookedUp(const std::string& fingerprint) const;

  /// Unlocks the address's secret keys that the passphrase fits. EngineFailure -13: there are none;
  /// -4: it fits none; what was unlocked before stays so.
  ///
  /// Opening a key or subkey takes as long as OpenPGP programs make guessing a passphrase take. So
  /// one of each key is opened here; the passphrase is kept until LockAll, and Open opens the
  /// others when they are needed.
  void Unlock(std::string_view address, const SecretString& passphrase);
  /// Unlock is to open those key IDs first: of a message that no unlocked key fits.
  void ExpectUseOf(std::set<std::string> key_ids) { expected_ = std::move(key_ids); }
  void LockAll();
  /// Fingerprints of the unlocked primary keys, the one unlocked last at the end; of one address
  /// only unless it is empty.
  std::vector<std::string> Unlocked(std::string_view address = {}) const;
  /// Makes the secret key or subkey with that ID of an unlocked primary key ready for use. False:
  /// it is not here, or its passphrase is another one.
  bool Open(std::string_view unlocked, const std::string& key_id);
  /// The secret key or subkey with that ID is ready for use.
  bool IsOpen(const std::string& key_id) const;

 private:
  struct UnlockedKey {
    std::string fingerprint;
    SecretString passphrase;
    std::set<std::string> refused = {};  ///< key IDs that it does not open
  };
  struct LoadedKey {
    rnp_ffi_t ffi = nullptr;
    Key primary;
  };
  Key Load(const RingEntry& entry);
  /// With the subkeys that another key claims as well: they are loaded apart, one for each key.
  LoadedKey LoadWhole(const RingEntry& entry);
  std::vector<LoadedKey> PublicKeys(std::string_view address);
  /// Takes what a key server has of a key of the rings.
  void Update(const RingEntry& entry, std::string_view looked_up, const Wanted& wanted);
  /// To be called when the rings have changed: what is loaded may be another key by now, or none.
  void ForgetLoaded();
  void Unload(const std::string& fingerprint);

  KeyRings rings_;
  Ffi ffi_;
  std::set<std::string> loaded_;
  std::map<std::string, Ffi> apart_;
  std::map<std::string, std::set<std::string>> looked_up_;  ///< the addresses asked for, by key
  std::vector<UnlockedKey> unlocked_;
  std::set<std::string> expected_;
};

}  // namespace corvessa::engine
