#include <iostream>
#include <ole2.h>
#include <thread>

#include "windows/com/errors.h"
#include "windows/outlook/stand_in.h"

// Outlook as far as an add-in can tell: takes one JSON object a line and answers one a line. Mail
// is plain data here; the program that starts this one reads and writes the files. See ./outlook.

namespace corvessa::testing {
namespace {

constexpr UINT kLine = WM_APP;
constexpr UINT kEnd = WM_APP + 1;

/// Commands come in as messages, as a user's input does, so that dialogs let them in too; those
/// that do not say "now" wait until the one that runs is done.
class CommandLoop {
 public:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM word, LPARAM data) {
    if (message == kEnd) PostQuitMessage(0);
    if (message != kLine) return DefWindowProcW(window, message, word, data);
    const std::unique_ptr<Json> command(reinterpret_cast<Json*>(data));
    if (depth_ > 0 && !command->value("now", false)) {
      waiting_.push_back(*command);
      return 0;
    }
    Run(*command);
    while (depth_ == 0 && !waiting_.empty()) {
      const Json next = waiting_.front();
      waiting_.erase(waiting_.begin());
      Run(next);
    }
    return 0;
  }

  static inline StandIn* stand_in_ = nullptr;

 private:
  static void Run(const Json& command) {
    ++depth_;
    Json answer = stand_in_->Do(command);
    --depth_;
    if (command.contains("id")) answer["id"] = command["id"];
    std::cout << answer.dump(-1, ' ', true, Json::error_handler_t::replace) << std::endl;
  }

  static inline int depth_ = 0;
  static inline std::vector<Json> waiting_;
};

void ReadCommands(HWND window) {
  for (std::string line; std::getline(std::cin, line);) {
    Json command = Json::parse(line, nullptr, false);
    if (!command.is_object()) command = {{"do", "nothing"}};
    PostMessageW(window, kLine, 0, reinterpret_cast<LPARAM>(new Json(std::move(command))));
  }
  PostMessageW(window, kEnd, 0, 0);
}

int Main() {
  com::Check(OleInitialize(nullptr));
  TheLedger();
  WNDCLASSW window_class = {};
  window_class.lpfnWndProc = CommandLoop::Procedure;
  window_class.lpszClassName = L"StandIn";
  RegisterClassW(&window_class);
  const HWND window = CreateWindowExW(0, L"StandIn", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                      nullptr, nullptr);
  {
    StandIn stand_in;
    CommandLoop::stand_in_ = &stand_in;
    std::thread reader(ReadCommands, window);
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
    reader.join();
  }
  OleUninitialize();
  return 0;
}

}  // namespace
}  // namespace corvessa::testing

int main() {
  return corvessa::testing::Main();
}
