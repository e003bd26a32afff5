#pragma once

#include <functional>
#include <set>
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

/// Removes a temporary file's folder if it is empty, then its parents up to the user's folder for
/// temporary files, which stays.
void RemoveFolderIfEmpty(std::string_view folder) noexcept;

/// Folders whose files are being deleted. Those that are empty then are removed with this object,
/// so that each is tried once and not with every file.
class EmptiedFolders {
 public:
  EmptiedFolders() = default;
  ~EmptiedFolders();
  EmptiedFolders(const EmptiedFolders&) = delete;
  EmptiedFolders& operator=(const EmptiedFolders&) = delete;

  void Add(std::string_view folder) noexcept;

 private:
  std::set<std::string, std::less<>> folders_;
};

/// Deletes a file, removes it from the queue, and adds its private folder to `folders`. A file that
/// cannot be deleted is queued. Ignores an empty path.
void DeleteOrQueue(std::string_view path, EmptiedFolders& folders) noexcept;
/// The same, and removes the folder if it is empty.
void DeleteOrQueue(std::string_view path) noexcept;

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
