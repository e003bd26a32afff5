#pragma once

#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>
#include <windows.h>

/// Somebody in front of the add-in's windows, on a thread of their own.
namespace corvessa::testing {

class ScriptedUser {
 public:
  struct Answer {
    /// A form's name, or "MessageBox".
    std::string form;
    std::map<std::string, std::string> values;
    /// A control, "OK" or "Cancel" of a message box, "" for the close box, "leave" for nothing
    /// until the next answer.
    std::string press;
  };
  /// What was seen.
  struct Box {
    std::string form;
    std::string text;
    std::string answer;
  };

  /// Looks at the windows of the thread that makes it.
  ScriptedUser();
  ~ScriptedUser();
  ScriptedUser(const ScriptedUser&) = delete;
  ScriptedUser& operator=(const ScriptedUser&) = delete;

  /// Used once, for the next form of that name. What nobody answers is closed, if it is modal.
  void Queue(Answer answer);
  void ForgetAnswers();
  std::vector<Box> TakeBoxes();

 private:
  static BOOL CALLBACK See(HWND window, LPARAM user);
  void Run();
  void Look(HWND window);
  void AnswerBox(HWND window);
  void AnswerForm(HWND window, const std::string& name);
  bool TakeAnswer(const std::string& form, Answer& answer);
  void Note(Box box);

  DWORD watched_ = GetCurrentThreadId();
  HANDLE ended_ = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::mutex mutex_;
  std::vector<Answer> answers_;
  std::vector<Box> boxes_;
  struct Acted {
    ULONGLONG last;
    bool is_left;
  };
  std::map<HWND, Acted> acted_;
  std::thread thread_;
};

}  // namespace corvessa::testing
