#include "engine/key_rings.h"

#include <algorithm>
#include <set>
#include <system_error>
#include <utility>

#include "engine/key_info.h"
#include "engine/packets.h"
#include "engine/status.h"

namespace corvessa::engine {
namespace {

constexpr const char* kDamaged = ".damaged";
constexpr std::size_t kMaxIndexSize = std::size_t{256} << 20;
constexpr std::uint64_t kLongestRun = 1 << 20;

bool IsStillAt(const std::filesystem::path& path, const system::FileStamp& stamp) {
  try {
    return system::FindStamp(path).value_or(system::FileStamp()) == stamp;
  } catch (const std::system_error&) {
    return false;
  }
}

/// The file itself, which a user may keep elsewhere by a link: the link is to stay.
std::filesystem::path BehindLinks(const std::filesystem::path& path) {
  return std::filesystem::is_symlink(path) ? std::filesystem::canonical(path) : path;
}

LocalFile OpenRing(const std::filesystem::path& path) {
  try {
    return LocalFile::OpenIfThere(path);
  } catch (const EngineFailure& failure) {
    Fail(kKeyStoreTrouble, failure.message);
  }
}

/// "" when there is none that can be read: then it is made again.
std::string ReadIndex(const std::filesystem::path& path) {
  try {
    return ReadWholeFile(path, kMaxIndexSize);
  } catch (const EngineFailure&) {
    return {};
  }
}

}  // namespace

KeyRings::Lock::Lock(const std::filesystem::path& folder)
    : lock_([&] {
        try {
          return system::FileLock::Wait(folder / "keys.lock");
        } catch (const std::system_error& error) {
          Fail(kKeyStoreTrouble, "Cannot lock the key rings in " + system::PathText(folder) + ": " +
                                     error.code().message() + ".");
        }
      }()) {}

// A folder that cannot be made is found out when a ring is read or written.
KeyRings::KeyRings(std::filesystem::path folder) : folder_(std::move(folder)) {
  try {
    system::MakePrivateFolder(folder_, system::File::Links::kFollow);
  } catch (const std::system_error&) {
  }
}

std::filesystem::path KeyRings::RingPath(bool secret) const {
  return folder_ / (secret ? "secret.ring" : "public.ring");
}

template <typename Work>
void KeyRings::OrForget(Work work) {
  try {
    work();
  } catch (...) {
    public_ = {};
    secret_ = {};
    index_ = {};
    throw;
  }
}

bool KeyRings::Reopen(bool secret) {
  Ring& ring = RingOf(secret);
  if (IsStillAt(RingPath(secret), ring.stamp)) return false;
  auto file = OpenRing(RingPath(secret));
  ring.stamp = file.IsOpen() ? file.Stamp() : system::FileStamp();
  ring.file = std::move(file);
  return true;
}

bool KeyRings::Open() {
  const bool public_changed = Reopen(false);
  const bool secret_changed = Reopen(true);
  return public_changed || secret_changed;
}

bool KeyRings::Refresh() {
  bool changed = false;
  OrForget([&] {
    changed = Open();
    if (changed && !LoadIndex()) RebuildIndex();
  });
  return changed;
}

/// The engine itself never leaves an empty ring, nor a secret ring without a public one, save when
/// it is killed between the two.
bool KeyRings::IsLost(bool secret) const {
  const Ring& ring = RingOf(secret);
  if (ring.file.IsOpen()) return ring.stamp.size == 0;
  if (!secret && secret_.file.IsOpen()) return true;
  const auto index = KeyIndex::Parse(ReadIndex(IndexPath()));
  return index && (secret ? index->SecretRing() : index->PublicRing()).size > 0;
}

std::filesystem::path KeyRings::DamagedCopy(bool secret) const {
  const std::string prefix = system::PathText(RingPath(secret).filename()) + kDamaged;
  std::error_code ignored;
  for (const auto& file : std::filesystem::directory_iterator(folder_, ignored)) {
    if (system::PathText(file.path().filename()).starts_with(prefix)) return file.path();
  }
  return {};
}

std::string KeyRings::Trouble() const {
  for (const bool secret : {false, true}) {
    const std::string ring = system::PathText(RingPath(secret));
    if (IsLost(secret)) {
      return "The key ring " + ring + " is " +
             (RingOf(secret).file.IsOpen() ? "empty" : "missing") +
             "; keys may be missing. Restore it from a backup or import the keys again.";
    }
    if (const auto copy = DamagedCopy(secret); !copy.empty()) {
      return "The key ring " + ring +
             " was damaged; keys may be missing. The damaged ring is kept as " +
             system::PathText(copy) + ". Restore the keys, then delete that file.";
    }
  }
  return {};
}

bool KeyRings::LoadIndex() {
  auto index = KeyIndex::Parse(ReadIndex(IndexPath()));
  if (!index || index->PublicRing() != public_.stamp || index->SecretRing() != secret_.stamp) {
    return false;
  }
  index_ = std::move(*index);
  return true;
}

void KeyRings::RebuildIndex() {
  const bool is_lost = IsLost(false) || IsLost(true);
  SetIndex(IndexRing(false), IndexRing(true));
  // An index that names a ring is the proof that there was one.
  if (!is_lost) WriteIndex();
}

void KeyRings::SetIndex(const std::string& public_lines, const std::string& secret_lines) {
  index_ = KeyIndex(public_.stamp, secret_.stamp, public_lines + secret_lines);
}

std::string KeyRings::IndexRing(bool secret) const {
  const Ring& ring = RingOf(secret);
  std::string lines;
  if (!ring.file.IsOpen()) return lines;
  const std::string data = ring.file.ReadAt(0, static_cast<std::size_t>(ring.stamp.size));
  bool damaged = false;
  const auto pieces = SplitKeyRing(data, damaged);
  for (const auto& piece : pieces) {
    const Ffi scratch = MakeFfi();
    const auto loaded =
        LoadKeys(scratch.get(), std::string_view(data).substr(piece.offset, piece.length));
    if (loaded.empty()) {
      damaged = true;
      continue;
    }
    const auto key = FindKey(scratch.get(), loaded.front());
    lines += IndexLine(secret, piece.offset, piece.length, FactsOf(key.get()),
                       FormatInfo(scratch.get(), key.get(), /*secret=*/true));
  }
  // What cannot be read would be lost with the next write.
  if (damaged) Rescue(secret, data);
  return lines;
}

void KeyRings::Rescue(bool secret, const std::string& data) const {
  auto path = RingPath(secret);
  const auto name = path.filename().string() + kDamaged;
  path.replace_filename(name);
  for (int number = 2; std::filesystem::exists(path); ++number) {
    if (ReadWholeFile(path, std::string().max_size()) == data) return;
    path.replace_filename(name + "." + std::to_string(number));
  }
  FileSink copy(path);
  copy.Write(data);
  copy.CommitDurably();
}

std::string KeyRings::Read(const RingEntry& entry) const {
  std::string data =
      RingOf(entry.secret).file.ReadAt(entry.offset, static_cast<std::size_t>(entry.length));
  if (data.size() != entry.length) {
    Fail(kKeyStoreTrouble,
         "The key ring " + system::PathText(RingPath(entry.secret)) + " is damaged.");
  }
  return data;
}

void KeyRings::Store(const Lock&, const std::vector<NewKey>& keys) {
  Refresh();
  OrForget([&] {
    // The secret ring first: the public key can be made from the secret one.
    WriteRing(true, keys);
    WriteRing(false, keys);
  });
  WriteIndex();
}

void KeyRings::Remove(const Lock& lock, const std::vector<const RingEntry*>& entries) {
  std::vector<NewKey> without_data;
  for (const auto* entry : entries) {
    without_data.push_back({entry->secret, {std::string(entry->fingerprint), {}, {}}, {}, {}});
  }
  Store(lock, without_data);
}

void KeyRings::WriteRing(bool secret, const std::vector<NewKey>& keys) {
  std::set<std::string_view> replaced;
  for (const auto& key : keys) {
    if (key.secret == secret) replaced.insert(key.facts.fingerprint);
  }
  if (replaced.empty()) return;
  FileSink file(BehindLinks(RingPath(secret)));
  std::string lines;
  std::string other_lines;
  std::uint64_t offset = 0;
  RingEntry run;  // entries that follow one another are copied together
  run.secret = secret;
  const auto copy_run = [&] {
    if (run.length > 0) file.Write(Read(run));
  };
  for (auto entry : Entries()) {
    if (entry.secret != secret) {
      other_lines += IndexLine(entry);
    } else if (!replaced.contains(entry.fingerprint)) {
      if (entry.offset != run.offset + run.length || run.length > kLongestRun) {
        copy_run();
        run.offset = entry.offset;
        run.length = 0;
      }
      run.length += entry.length;
      entry.offset = std::exchange(offset, offset + entry.length);
      lines += IndexLine(entry);
    }
  }
  copy_run();
  for (const auto& key : keys) {
    if (key.secret != secret || key.data.empty()) continue;
    file.Write(key.data);
    lines += IndexLine(secret, offset, key.data.size(), key.facts, key.info);
    offset += key.data.size();
  }
  file.CommitDurably();
  Reopen(secret);
  secret ? SetIndex(other_lines, lines) : SetIndex(lines, other_lines);
}

void KeyRings::WriteIndex() {
  try {
    FileSink file(IndexPath());
    file.Write(index_.Format());
    file.Commit();
  } catch (
      const EngineFailure&) {  // keys that are stored are stored, also on a disk that is full now
  }
}

}  // namespace corvessa::engine
