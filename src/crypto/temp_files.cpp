#include "crypto/temp_files.h"

#include <algorithm>
#include <ranges>

#include "base/guard.h"
#include "base/paths.h"
#include "base/text.h"
#include "platform/files.h"
#include "platform/host.h"

namespace corvessa {

std::vector<std::string> g_colTempFiles;

int KeepQueuedFiles::holders_ = 0;

bool IsQueuedForDeletion(std::string_view path) {
  return std::ranges::find(g_colTempFiles, path) != g_colTempFiles.end();
}

void QueueForDeletion(std::string_view path) {
  if (!path.empty() && !IsQueuedForDeletion(path)) g_colTempFiles.emplace_back(path);
}

// A folder sorts before those in it.
EmptiedFolders::~EmptiedFolders() {
  for (const std::string& folder : std::views::reverse(folders_)) RemoveFolderIfEmpty(folder);
}

void EmptiedFolders::Add(std::string_view folder) noexcept {
  if (!folders_.contains(folder)) Ignoring([&] { folders_.emplace(folder); });
}

void DeleteOrQueue(std::string_view path) noexcept {
  EmptiedFolders folders;
  DeleteOrQueue(path, folders);
}

void DeleteOrQueue(std::string_view path, EmptiedFolders& folders) noexcept {
  if (path.empty()) return;
  const Error error = Attempt([&] { platform::Host().files.Delete(path); });
  if (error.number == 0) {
    std::erase(g_colTempFiles, path);
    folders.Add(FolderOf(path));
  } else if (error.number != kFileNotFound && error.number != kPathNotFound) {
    Ignoring([&] { QueueForDeletion(path); });
  }
}

void RemoveFolderIfEmpty(std::string_view folder) noexcept {
  Ignoring([&] {
    platform::Files& files = platform::Host().files;
    const std::string shared = LCase(files.TemporaryFolder());
    std::string emptied(folder);
    // Ends with the first folder that is not empty: that cannot be removed.
    while (LCase(emptied) != shared) {
      files.RemoveEmptyFolder(emptied);
      emptied.resize(FolderOf(std::string_view(emptied).substr(0, emptied.size() - 1)).size());
      if (!LCase(emptied).starts_with(shared)) return;
    }
  });
}

}  // namespace corvessa
