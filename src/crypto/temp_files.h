#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace corvessa {

/// The delete queue: paths of temporary files that are to go as soon as Outlook lets go of them.
/// The housekeeping timer works it off; close-down tries once more.
extern std::vector<std::string> g_colTempFiles;

/// Adds a path unless it is queued already.
void QueueForDeletion(std::string_view path);
bool IsQueuedForDeletion(std::string_view path);

/// Deletes a file now, and the private folder it was in when nothing is left there; it leaves the
/// queue then. A file that cannot be deleted is queued. An empty path is none.
void DeleteOrQueue(std::string_view path) noexcept;

/// Removes a temporary file's folder when it holds nothing any more, then the one around it, up to
/// the user's folder for temporary files, which stays.
void RemoveFolderIfEmpty(std::string_view folder) noexcept;

/// Keeps the queued files on disk while it lives. An operation may queue a file that it still needs
/// should it fail, and dialogs let the housekeeping timer tick meanwhile.
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
