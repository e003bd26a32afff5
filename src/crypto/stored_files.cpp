#include "crypto/stored_files.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "base/error.h"
#include "base/guard.h"
#include "base/text.h"
#include "crypto/temp_files.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/system.h"

namespace corvessa {
namespace {

constexpr std::string_view kSignatureExtension = ".sig";

char ToLower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

platform::Files& Files() {
  return platform::Host().files;
}

/// Well below what file systems take for a name (255 bytes), because a path has a limit as well and
/// ".sig" comes on top.
constexpr std::size_t kMaximumBytes = 160;

constexpr std::string_view kDeviceNames[] = {
    "con",  "prn",  "aux",  "nul",  "com0", "com1", "com2",   "com3",   "com4",
    "com5", "com6", "com7", "com8", "com9", "lpt0", "lpt1",   "lpt2",   "lpt3",
    "lpt4", "lpt5", "lpt6", "lpt7", "lpt8", "lpt9", "conin$", "conout$"};

bool IsForbidden(char c) {
  return IsControlCharacter(c) || std::string_view("<>:\"/\\|?*").find(c) != std::string_view::npos;
}

bool IsDeviceName(std::string_view name) {
  const std::string stem = LCase(Trim(name.substr(0, name.find('.'))));
  return std::find(std::begin(kDeviceNames), std::end(kDeviceNames), stem) !=
         std::end(kDeviceNames);
}

/// A name that one of the folders beside the files may have: that of the originals, a numbered one
/// for files of one name, or one in which a file gets encrypted.
bool IsFolderName(std::string_view name) {
  std::string lower = LCase(name);
  if (lower == kOriginalsFolder) return true;
  if (lower.starts_with(kWorkFolderPrefix)) lower.erase(0, kWorkFolderPrefix.size());
  return !lower.empty() && lower.find_first_not_of("0123456789") == std::string::npos;
}

std::string CleanName(std::string_view last_component) {
  std::string name = ForDisplay(last_component);
  if (name.empty()) name = "attachment";
  std::ranges::replace_if(name, IsForbidden, '_');
  for (auto c = name.rbegin(); c != name.rend() && (*c == '.' || *c == ' '); ++c) *c = '_';
  if (IsDeviceName(name) || IsFolderName(name)) name.insert(0, "_");
  return ShortenedFileName(name, kMaximumBytes);
}

/// In one folder. Each file gets encrypted in a work folder beside it, and its old signature may be
/// set aside in another.
constexpr std::int32_t kMaximumFiles = 40;
static_assert(2 * kMaximumFiles < kWorkFolders);

/// The folders taken by each stored name, and which data files stand where.
class Places {
 public:
  StoredPlace Take(std::string name) {
    std::int32_t folder = 0;
    while (files_[folder] >= kMaximumFiles || !IsFree(name, folder)) ++folder;
    return TakeBeside(std::move(name), folder);
  }
  /// In that folder, however full it is.
  StoredPlace TakeBeside(std::string name, std::int32_t folder) {
    ++files_[folder];
    taken_.insert(Key(name, folder));
    return {std::move(name), folder};
  }
  bool IsFree(std::string_view name, std::int32_t folder) const {
    return !taken_.contains(Key(name, folder));
  }

 private:
  static std::string Key(std::string_view name, std::int32_t folder) {
    return LCase(name) + "\\" + Decimal(folder);
  }

  std::unordered_set<std::string> taken_;
  std::unordered_map<std::int32_t, std::int32_t> files_;
};

/// The folders of the data files of each name, in lower case.
using DataFolders = std::unordered_multimap<std::string, std::int32_t>;

/// The first folder that holds the signature's data file and has its stored name free.
std::optional<std::int32_t> FolderBeside(std::string_view signature_name, std::string_view stored,
                                         const DataFolders& data_folders, const Places& taken) {
  std::optional<std::int32_t> beside;
  const auto [first, last] = data_folders.equal_range(LCase(SignedName(signature_name)));
  for (auto data = first; data != last; ++data) {
    if (taken.IsFree(stored, data->second) && (!beside || data->second < *beside)) {
      beside = data->second;
    }
  }
  return beside;
}

}  // namespace

bool HasSignatureName(std::string_view name) {
  return name.size() > kSignatureExtension.size() &&
         LCase(name.substr(name.size() - kSignatureExtension.size())) == kSignatureExtension;
}

// Each signature's name is compared with each attachment's. Their ends differ first.
bool IsSameFile(std::string_view a, std::string_view b) {
  while (!a.empty() && !b.empty() && ((a.back() | b.back()) & 0x80) == 0) {
    if (ToLower(a.back()) != ToLower(b.back())) return false;
    a.remove_suffix(1);
    b.remove_suffix(1);
  }
  return LCase(a) == LCase(b);
}

std::string_view SignedName(std::string_view name) {
  return name.substr(0, name.size() - kSignatureExtension.size());
}

std::string StoredFileName(std::string_view attachment_name) {
  const std::size_t separator = attachment_name.find_last_of("\\/");
  if (separator != std::string_view::npos) attachment_name.remove_prefix(separator + 1);
  // A signature is shortened as its data file is, so that the two still belong together.
  if (HasSignatureName(attachment_name)) {
    return CleanName(SignedName(attachment_name)) +
           std::string(attachment_name.substr(SignedName(attachment_name).size()));
  }
  return CleanName(attachment_name);
}

std::vector<StoredPlace> StoredPlaces(const std::vector<std::string>& attachment_names) {
  std::vector<StoredPlace> places(attachment_names.size());
  DataFolders data_folders;
  Places taken;
  for (std::size_t i = 0; i < places.size(); ++i) {
    const std::string& name = attachment_names[i];
    if (HasSignatureName(name)) continue;
    places[i] = taken.Take(StoredFileName(name));
    data_folders.emplace(LCase(name), places[i].subfolder);
  }
  for (std::size_t i = 0; i < places.size(); ++i) {
    const std::string& name = attachment_names[i];
    if (!HasSignatureName(name)) continue;
    const std::string stored = StoredFileName(name);
    const auto folder = FolderBeside(name, stored, data_folders, taken);
    places[i] = folder ? taken.TakeBeside(stored, *folder) : taken.Take(stored);
  }
  return places;
}

std::string CreatePrivateFolder() {
  constexpr double kNames = 1'000'000'000;
  platform::Clock& clock = platform::Host().clock;
  clock.Randomize();
  auto number = static_cast<std::int64_t>(std::floor(clock.Random() * kNames));
  std::string folder;
  do {
    folder = Files().TemporaryFolder() + std::string(kPrivateFolderPrefix) + Decimal(number++);
  } while (Files().FolderExists(folder) || Files().FileExists(folder));
  // Something that has come between fails here: what is there already is never used.
  Files().CreateFolder(folder);
  return folder + "\\";
}

AttachmentNodePtr MakeNode(const std::string& message_folder, const StoredPlace& place,
                           const std::string& display_name) {
  // The name is safe already; this guards against later changes to how it is made safe.
  if (place.name.find_first_of("\\/:") != std::string::npos || place.name == "..") {
    Raise(kPathFileAccess);
  }
  auto node = std::make_shared<AttachmentNode>();
  node->sDisplayName = display_name;
  node->message_folder = message_folder;
  node->sDir = message_folder;
  if (place.subfolder > 0) node->sDir += Decimal(place.subfolder) + "\\";
  node->sFilename = node->sDir + place.name;
  node->original_filename = node->sFilename;
  return node;
}

AttachmentNodes WriteFiles(const std::vector<std::string>& names,
                           const std::vector<std::string_view>& contents) {
  AttachmentNodes nodes;
  if (names.empty()) return nodes;
  const std::vector<StoredPlace> places = StoredPlaces(names);
  const std::string folder = CreatePrivateFolder();
  const Error error = Attempt([&] {
    for (std::size_t i = 0; i < names.size(); ++i) {
      nodes.push_back(MakeNode(folder, places[i], names[i]));
      AttachmentNode& node = *nodes.back();
      // Not from the item, which it must not go back to.
      node.original_filename.clear();
      if (!Files().FolderExists(node.sDir)) Files().CreateFolder(node.sDir);
      Files().Write(node.sFilename, contents[i]);
    }
  });
  if (error.number == 0) return nodes;
  DeleteStoredFiles(nodes);
  throw Error(error);
}

AttachmentNodePtr FindByPath(const AttachmentNodes& nodes, std::string_view path) {
  const auto found = std::ranges::find_if(
      nodes, [&](const AttachmentNodePtr& node) { return IsSameFile(node->sFilename, path); });
  return found == nodes.end() ? nullptr : *found;
}

NodesByPath::NodesByPath(const AttachmentNodes& nodes) {
  for (const AttachmentNodePtr& node : nodes) nodes_.emplace(LCase(node->sFilename), node);
}

AttachmentNodePtr NodesByPath::Find(std::string_view path) const {
  const auto found = nodes_.find(LCase(path));
  return found == nodes_.end() ? nullptr : found->second;
}

void RequireFiles(const AttachmentNodes& nodes) {
  for (const AttachmentNodePtr& node : nodes) {
    if (Files().FileExists(node->sFilename)) continue;
    Raise(kFileNotFound,
          "The temporary file of attachment \"" + node->sDisplayName + "\" is missing.");
  }
}

void DeleteStoredFiles(AttachmentNodes& attachments) noexcept {
  const AttachmentNodes nodes = std::exchange(attachments, {});
  EmptiedFolders folders;
  for (const AttachmentNodePtr& node : nodes) {
    // Part of a mail that was only verified: it has no file.
    if (node->sDir.empty()) continue;
    DeleteOrQueue(node->sFilename, folders);
    if (node->original_filename != node->sFilename) DeleteOrQueue(node->original_filename, folders);
    folders.Add(node->sDir);
    folders.Add(node->message_folder);
  }
}

}  // namespace corvessa
