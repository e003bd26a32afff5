#pragma once

#include <memory>
#include <optional>
#include <string>

namespace corvessa::desk {

class Terminal;

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

 private:
  class Editor;

  Terminal& terminal_;
  /// Null without a terminal.
  std::unique_ptr<Editor> editor_;
};

}  // namespace corvessa::desk
