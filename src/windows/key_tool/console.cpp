#include "windows/key_tool/console.h"

#include <array>

#include "commands/columns.h"
#include "win32/utf16.h"

namespace corvessa::windows {
namespace {

constexpr wchar_t kEndOfInput = 0x1A;

bool IsConsole(HANDLE stream) {
  DWORD mode = 0;
  return GetConsoleMode(stream, &mode) != 0;
}

/// What is typed is not shown while it lives.
class EchoOff {
 public:
  explicit EchoOff(HANDLE input) : input_(input) {
    GetConsoleMode(input, &mode_);
    SetConsoleMode(input, mode_ & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
  }
  ~EchoOff() { SetConsoleMode(input_, mode_); }
  EchoOff(const EchoOff&) = delete;
  EchoOff& operator=(const EchoOff&) = delete;

 private:
  HANDLE input_;
  DWORD mode_ = 0;
};

/// A typed line in one buffer that is wiped at the end.
class TypedLine {
 public:
  ~TypedLine() { SecureZeroMemory(units_.data(), units_.size() * sizeof(wchar_t)); }

  /// False at the end of the input.
  bool Read(HANDLE input) {
    DWORD count = 0;
    while (size_ < units_.size()) {
      if (!ReadConsoleW(input, &units_[size_], 1, &count, nullptr) || count == 0) return false;
      if (size_ == 0 && units_[0] == kEndOfInput) return false;
      if (units_[size_] == L'\n') return true;
      ++size_;
    }
    return true;
  }
  std::wstring_view View() const { return {units_.data(), size_}; }

 private:
  /// More than a console takes in one line.
  std::array<wchar_t, 8192> units_;
  std::size_t size_ = 0;
};

void Write(HANDLE output, std::string_view text) {
  const std::wstring wide = win32::ShownUtf16(text);
  DWORD count = 0;
  WriteConsoleW(output, wide.data(), static_cast<DWORD>(wide.size()), &count, nullptr);
}

}  // namespace

Console::Console()
    : input_(GetStdHandle(STD_INPUT_HANDLE)),
      output_(GetStdHandle(STD_ERROR_HANDLE)),
      is_there_(IsConsole(input_) && IsConsole(output_)) {}

UserPrompt::SecretResult Console::ReadSecret(std::string_view prompt, SecretString& secret) {
  const EchoOff mute(input_);
  Write(output_, prompt);
  TypedLine typed;
  const bool is_read = typed.Read(input_);
  Write(output_, "\n");
  auto bytes = is_read ? win32::Utf8(typed.View()) : std::nullopt;
  if (!bytes) return SecretResult::kAborted;
  SecretLine line;
  for (const char byte : *bytes) line.Add(byte);
  WipeText(*bytes);
  if (line.IsTooLong()) return SecretResult::kTooLong;
  secret.Assign(line.View());
  return SecretResult::kRead;
}

std::optional<std::string> Console::ReadLine(std::string_view prompt) {
  Write(output_, prompt);
  TypedLine typed;
  auto line = typed.Read(input_) ? win32::Utf8(typed.View()) : std::nullopt;
  if (line && line->ends_with('\r')) line->pop_back();
  return line;
}

int Console::OutputColumns() {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  const bool is_console = GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info) != 0;
  return is_console ? info.srWindow.Right - info.srWindow.Left + 1 : kUnlimitedColumns;
}

}  // namespace corvessa::windows
