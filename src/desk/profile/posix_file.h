#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

namespace corvessa::desk {

/// Owns an open file descriptor; -1 is none.
class FileDescriptor {
 public:
  explicit FileDescriptor(int number = -1) : number_(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;
  ~FileDescriptor();

  explicit operator bool() const { return number_ >= 0; }
  int Get() const { return number_; }
  /// Gives the descriptor away.
  int Release() { return std::exchange(number_, -1); }

 private:
  int number_;
};

/// These report failure as std::system_error with the errno of the call that failed; the callers
/// know what it means for them.

/// Everything up to the end of the file.
std::string ReadAll(int file);

void WriteAll(int file, std::string_view content);

/// Whether a replaced file has to survive a loss of power, or only the end of the process.
enum class Durability { kProcess, kPower };

/// Replaces or creates a file, readable by its owner only: a new file beside it, written whole,
/// then renamed. Whatever goes wrong, the old content stands and nothing is left over.
void ReplaceFile(const std::filesystem::path& path, std::string_view content,
                 Durability durability);

}  // namespace corvessa::desk
