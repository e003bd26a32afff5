#include "crypto/stored_files.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "base/error.h"
#include "base/text.h"
#include "crypto/temp_files.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/system.h"

namespace corvessa {
namespace {

platform::Files& Files() {
  return platform::Host().files;
}

}  // namespace

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

AttachmentNodePtr FindByPath(const AttachmentNodes& nodes, std::string_view path) {
  const std::string wanted = LCase(path);
  const auto found = std::ranges::find_if(
      nodes, [&](const AttachmentNodePtr& node) { return LCase(node->sFilename) == wanted; });
  return found == nodes.end() ? nullptr : *found;
}

void RequireFiles(const AttachmentNodes& nodes) {
  for (const AttachmentNodePtr& node : nodes) {
    if (Files().FileExists(node->sFilename)) continue;
    Raise(kFileNotFound,
          "The temporary file of attachment \"" + node->sDisplayName + "\" is missing.");
  }
}

void DeleteStoredFiles(AttachmentNodes& attachments) noexcept {
  while (!attachments.empty()) {
    const AttachmentNodePtr node = attachments.front();
    attachments.erase(attachments.begin());
    DeleteOrQueue(node->sFilename);
    if (node->original_filename != node->sFilename) DeleteOrQueue(node->original_filename);
    RemoveFolderIfEmpty(node->sDir);
    RemoveFolderIfEmpty(node->message_folder);
  }
}

}  // namespace corvessa
