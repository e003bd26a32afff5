#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "engine/key_index.h"
#include "engine/local_files.h"
#include "system/files.h"

namespace corvessa::engine {

/// The two key rings of a profile, "public.ring" and "secret.ring", binary OpenPGP as other
/// programs read it, and the index "keys.index" beside them, which spares parsing keys that are not
/// needed.
///
/// A ring is only ever replaced as a whole, durably, and the index after it: killed at any moment
/// the rings are the old or the new ones, and an index that does not fit them is made again.
class KeyRings {
 public:
  explicit KeyRings(std::filesystem::path folder);

  /// Opens the rings as they are now, without looking for keys in them; false when they are those
  /// that were open already. EngineFailure (-7) when they are there but cannot be read.
  bool Open();
  /// Looks whether another process changed the rings; true when there is something new.
  /// EngineFailure when they are there but cannot be read: then no key is known and the next call
  /// tries again.
  bool Refresh();

  /// Why keys may be missing, in one line for the user: a ring was damaged, emptied or removed.
  /// Empty when the rings are whole. While they are not, that a key is not in them proves nothing.
  std::string Trouble() const;

  const std::vector<RingEntry>& Entries() const { return index_.Entries(); }
  /// The entries whose key carries the address (in lower case), in ring order.
  KeyIndex::Found FindByAddress(std::string_view address) const {
    return index_.FindByAddress(address);
  }
  KeyIndex::Found FindByFingerprint(std::string_view fingerprint) const {
    return index_.FindByFingerprint(fingerprint);
  }
  /// The entries that hold the key ID (16 capital hexadecimal digits), be it a subkey's.
  KeyIndex::Found FindByKeyId(std::string_view key_id) const { return index_.FindByKeyId(key_id); }

  /// The key's bytes. EngineFailure (-7) when the ring does not hold them any more.
  std::string Read(const RingEntry& entry) const;

  /// A key as it is to stand in a ring; without data it is to stand there no more.
  struct NewKey {
    bool secret = false;
    KeyFacts facts;
    std::string info;  ///< see key_info.h
    std::string data;
  };
  /// Shuts other processes out while it lives, so that what is read is still so when it is stored.
  class Lock {
   public:
    explicit Lock(const std::filesystem::path& folder);

   private:
    system::FileLock lock_;
  };
  /// Adds the keys, each in place of an entry with its fingerprint in its ring if there is one.
  /// EngineFailure when they cannot be read or written; no ring is then without a key that it held.
  void Store(const Lock& lock, const std::vector<NewKey>& keys);
  /// Takes the entries out of their rings, secret ones first.
  void Remove(const Lock& lock, const std::vector<const RingEntry*>& entries);
  const std::filesystem::path& Folder() const { return folder_; }

 private:
  struct Ring {
    LocalFile file;
    system::FileStamp stamp;  ///< of the open file; empty for none
  };
  Ring& RingOf(bool secret) { return secret ? secret_ : public_; }
  const Ring& RingOf(bool secret) const { return secret ? secret_ : public_; }
  std::filesystem::path RingPath(bool secret) const;
  std::filesystem::path IndexPath() const { return folder_ / "keys.index"; }
  /// Runs `work`; when it fails, forgets everything that was read, so that nothing half-read is
  /// ever used or written back.
  template <typename Work>
  void OrForget(Work work);
  bool Reopen(bool secret);
  bool IsLost(bool secret) const;
  std::filesystem::path DamagedCopy(bool secret) const;
  bool LoadIndex();
  void RebuildIndex();
  std::string IndexRing(bool secret) const;
  void Rescue(bool secret, const std::string& data) const;
  void WriteRing(bool secret, const std::vector<NewKey>& keys);
  void SetIndex(const std::string& public_lines, const std::string& secret_lines);
  /// As far as it can be written: a missing or old index is made again.
  void WriteIndex();

  std::filesystem::path folder_;
  Ring public_;
  Ring secret_;
  KeyIndex index_;
};

}  // namespace corvessa::engine
