#pragma once

#include <memory>
#include <optional>
#include <string>

namespace corvessa::desk {

class Terminal;

/// The lines of an interactive session: edited and recalled at a terminal, read plainly otherwise.
/// What happens meanwhile (timers) goes on happening. The history lives as long as the object and
/// is written nowhere.
class LineReader {
 public:
  /// The terminal must outlive it.
  LineReader(Terminal& terminal, const std::string& program);
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  /// Without the line break, empty after an interrupt; nothing at the end of the input. What is not
  /// blank joins the history, unless it repeats the line before.
  std::optional<std::string> Read(const std::string& prompt);

 private:
  class Editor;

  Terminal& terminal_;
  /// Null without a terminal.
  std::unique_ptr<Editor> editor_;
};

}  // namespace corvessa::desk
