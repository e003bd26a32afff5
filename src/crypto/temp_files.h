#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace corvessa {

/// The delete queue: paths of temporary files to delete as soon as Outlook releases them. The
/// housekeeping timer works it off; close-down tries once more.
extern std::vector<std::string> g_colTempFiles;

/// Adds a path unless it is queued already.
void QueueForDeletion(std::string_view path);
bool IsQueuedForDeletion(std::string_view path);

/// Deletes a file, removes it from the queue, and removes its private folder if that is empty. A
/// file that cannot be deleted is queued. Ignores an empty path.
void DeleteOrQueue(std::string_view path) noexcept;

/// Removes a temporary file's folder if it is empty, then its parents up to the user's folder for
/// temporary files, which stays.
void RemoveFolderIfEmpty(std::string_view folder) noexcept;

/// Keeps the queued files on disk while it lives. An operation may need a queued file again if it
/// fails, and its dialogs let the housekeeping timer run.
class KeepQueuedFiles {
 public:
  KeepQueuedFiles() { ++holders_; }
  ~KeepQueuedFiles() { --holders_; }
  KeepQueuedFiles(const KeepQueuedFiles&) = delete;
  KeepQueuedFiles& operator=(const KeepQueuedFiles&) = delete;

  static bool InForce() { return holders_ > 0; }

 private:
  static int holders_;
};

}  // namespace corvessa
