#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvessa::desk {

class Terminal;

/// What the end of a typed text can become.
struct Completion {
  struct Candidate {
    std::string text;
    /// What the user is shown to choose from.
    std::string label;
  };

  /// The bytes at the end of the text that a candidate replaces.
  std::size_t length = 0;
  std::vector<Candidate> candidates;
};

/// Reads the lines of an interactive session: with editing and history at a terminal, plainly
/// otherwise. Timers keep running. The history lives as long as the object and is never written to
/// disk.
class LineReader {
 public:
  /// The terminal must outlive it.
  LineReader(Terminal& terminal, const std::string& program);
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  /// The line without its break, empty after an interrupt; nothing at the end of the input. A line
  /// that is not blank joins the history, unless it repeats the line before.
  std::optional<std::string> Read(const std::string& prompt);

  /// What Tab offers for the text before the cursor.
  std::function<Completion(const std::string& typed)> complete;

 private:
  class Editor;

  Terminal& terminal_;
  /// Null without a terminal.
  std::unique_ptr<Editor> editor_;
};

}  // namespace corvessa::desk
