#include "desk/terminal/line_reader.h"

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <fcntl.h>
#include <histedit.h>

#include "base/text.h"
#include "commands/columns.h"
#include "desk/terminal/terminal.h"
#include "posix/utf8_locale.h"

namespace corvessa::desk {
namespace {

constexpr int kHistoryLines = 500;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

/// A new stream over the descriptor, which stays open when the stream is closed.
File OpenAgain(int descriptor, const char* mode) {
  return File(fdopen(fcntl(descriptor, F_DUPFD_CLOEXEC, 0), mode));
}

/// The beginning that all share, in whole characters.
std::string CommonStart(const std::vector<Completion::Candidate>& candidates) {
  std::string_view start = candidates.front().text;
  for (const auto& candidate : candidates) {
    const auto end = std::ranges::mismatch(start, candidate.text).in1;
    start = start.substr(0, static_cast<std::size_t>(end - start.begin()));
  }
  const auto is_inside_character = [&](std::size_t at) {
    const std::string& whole = candidates.front().text;
    return at < whole.size() && (static_cast<unsigned char>(whole[at]) & 0xC0U) == 0x80U;
  };
  while (is_inside_character(start.size())) start.remove_suffix(1);
  return std::string(start);
}

}  // namespace

class LineReader::Editor {
 public:
  Editor(Terminal& terminal, const std::string& program);
  ~Editor();
  Editor(const Editor&) = delete;
  Editor& operator=(const Editor&) = delete;

  bool IsUsable() const { return editor_ && history_; }
  std::optional<std::string> Read(const std::string& prompt);

  std::function<Completion(const std::string&)> complete;

 private:
  static Editor& Of(EditLine* editor);
  static const char* Prompt(EditLine* editor) { return Of(editor).prompt_.c_str(); }
  static int ReadCharacter(EditLine* editor, wchar_t* character);
  static unsigned char OnTab(EditLine* editor, int /*key*/) { return Of(editor).Complete(); }
  unsigned char Complete();
  void ShowCandidates(const std::vector<Completion::Candidate>& candidates);
  void Remember(const std::string& line);

  Terminal& terminal_;
  std::string prompt_;
  File input_;
  File output_;
  EditLine* editor_ = nullptr;
  History* history_ = nullptr;
};

LineReader::Editor::Editor(Terminal& terminal, const std::string& program)
    : terminal_(terminal),
      input_(OpenAgain(terminal.Input(), "r")),
      output_(OpenAgain(terminal.Output(), "w")) {
  if (!input_ || !output_) return;
  const posix::Utf8Locale utf8;
  editor_ = el_init(program.c_str(), input_.get(), output_.get(), output_.get());
  history_ = history_init();
  if (!IsUsable()) return;
  HistEvent event;
  history(history_, &event, H_SETSIZE, kHistoryLines);
  history(history_, &event, H_SETUNIQUE, 1);
  el_set(editor_, EL_CLIENTDATA, this);
  el_set(editor_, EL_PROMPT, &Editor::Prompt);
  el_set(editor_, EL_EDITOR, "emacs");
  el_set(editor_, EL_SIGNAL, 1);
  el_set(editor_, EL_GETCFN, &Editor::ReadCharacter);
  el_set(editor_, EL_HIST, &history, history_);
  el_set(editor_, EL_ADDFN, "complete", "Completes what is typed", &Editor::OnTab);
  el_set(editor_, EL_BIND, "^I", "complete", nullptr);
}

unsigned char LineReader::Editor::Complete() {
  const LineInfo* const line = el_line(editor_);
  const std::string typed(line->buffer, line->cursor);
  const Completion completion = complete ? complete(typed) : Completion{};
  if (completion.candidates.empty()) return CC_REFRESH_BEEP;
  const std::string replaced = typed.substr(typed.size() - completion.length);
  const std::string start = CommonStart(completion.candidates);
  const bool is_only = completion.candidates.size() == 1;
  if (is_only || (start.size() >= replaced.size() && start != replaced)) {
    el_deletestr(editor_, static_cast<int>(Length(replaced)));
    if (!start.empty()) el_insertstr(editor_, start.c_str());
    return CC_REFRESH;
  }
  ShowCandidates(completion.candidates);
  return CC_REDISPLAY;
}

void LineReader::Editor::ShowCandidates(const std::vector<Completion::Candidate>& candidates) {
  constexpr int kGap = 2;
  int width = 0;
  for (const auto& candidate : candidates) width = std::max(width, ColumnsOf(candidate.label));
  std::string text;
  int column = 0;
  for (const auto& candidate : candidates) {
    if (column == 0 || column + width > terminal_.Columns()) {
      text += "\n";
      column = 0;
    }
    text += PadToColumns(candidate.label, width + kGap);
    column += width + kGap;
  }
  terminal_.Write(text + "\n");
}

LineReader::Editor::~Editor() {
  if (editor_) el_end(editor_);
  if (history_) history_end(history_);
}

LineReader::Editor& LineReader::Editor::Of(EditLine* editor) {
  void* self = nullptr;
  el_get(editor, EL_CLIENTDATA, &self);
  return *static_cast<Editor*>(self);
}

int LineReader::Editor::ReadCharacter(EditLine* editor, wchar_t* character) {
  std::mbstate_t state{};
  for (;;) {
    const int read = Of(editor).terminal_.ReadByte();
    if (read < 0) return 0;
    const char byte = static_cast<char>(read);
    const std::size_t result = std::mbrtowc(character, &byte, 1, &state);
    if (result == static_cast<std::size_t>(-2)) continue;
    if (result != static_cast<std::size_t>(-1)) return 1;
    // Skip invalid UTF-8.
    state = {};
  }
}

std::optional<std::string> LineReader::Editor::Read(const std::string& prompt) {
  const posix::Utf8Locale utf8;
  prompt_ = prompt;
  terminal_.ClearStatus();
  const Terminal::Question question(terminal_);
  int length = 0;
  const char* typed = el_gets(editor_, &length);
  if (terminal_.TakeInterrupt()) {
    // Abandons the line, not the session.
    terminal_.Write("\n");
    return std::string();
  }
  if (!typed || length <= 0) {
    // The user's next prompt gets a line of its own.
    terminal_.Write("\n");
    return std::nullopt;
  }
  std::string line(typed, static_cast<std::size_t>(length));
  Remember(line);
  if (line.ends_with('\n')) line.pop_back();
  return line;
}

void LineReader::Editor::Remember(const std::string& line) {
  if (line.find_first_not_of(" \t\r\n") == std::string::npos) return;
  HistEvent event;
  history(history_, &event, H_ENTER, line.c_str());
}

LineReader::LineReader(Terminal& terminal, const std::string& program) : terminal_(terminal) {
  if (!terminal_.IsThere()) return;
  editor_ = std::make_unique<Editor>(terminal_, program);
  if (!editor_->IsUsable()) editor_.reset();
}

LineReader::~LineReader() = default;

std::optional<std::string> LineReader::Read(const std::string& prompt) {
  if (!editor_) return terminal_.ReadLine(prompt);
  editor_->complete = complete;
  return editor_->Read(prompt);
}

}  // namespace corvessa::desk
