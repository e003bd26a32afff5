#include "windows_engine/worker.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>
#include <windows.h>

#include "base/error.h"

namespace corvessa::windows {
namespace {

using namespace std::chrono_literals;

/// A window without a place on the screen, with a timer, whose messages the test sees.
class Window {
 public:
  explicit Window(std::function<void(UINT)> on_message) : on_message_(std::move(on_message)) {
    handle = CreateWindowW(L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    SetWindowLongPtrW(handle, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    SetWindowLongPtrW(handle, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Window::Receive));
    EXPECT_NE(SetTimer(handle, 1, 10, nullptr), 0U);
  }
  ~Window() { DestroyWindow(handle); }

  HWND handle = nullptr;

 private:
  static LRESULT CALLBACK Receive(HWND window, UINT message, WPARAM word, LPARAM value) {
    reinterpret_cast<Window*>(GetWindowLongPtrW(window, GWLP_USERDATA))->on_message_(message);
    return DefWindowProcW(window, message, word, value);
  }

  std::function<void(UINT)> on_message_;
};

TEST(WorkerTest, LetsOnlyTimersAndSentMessagesThroughWhileItWaits) {
  std::vector<UINT> received;
  const Window window([&](UINT message) { received.push_back(message); });
  Worker worker;
  PostMessageW(window.handle, WM_USER, 0, 0);
  std::thread sender([&] { SendMessageW(window.handle, WM_USER + 1, 0, 0); });
  EXPECT_TRUE(worker.Run([] { Sleep(300); }, 1s));
  sender.join();
  EXPECT_GT(std::ranges::count(received, WM_TIMER), 3);
  EXPECT_EQ(std::ranges::count(received, WM_USER + 1), 1);
  EXPECT_EQ(std::ranges::count(received, WM_USER), 0);
  PostQuitMessage(7);
  EXPECT_TRUE(worker.Run([] { Sleep(50); }, 1s));
  MSG message = {};
  while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
  EXPECT_EQ(std::ranges::count(received, WM_USER), 1);
  EXPECT_EQ(message.wParam, 7U) << "the wish to quit is for the program";
}

TEST(WorkerTest, ACallThatComesInWhileItWaitsWaitsItsTurn) {
  Worker worker;
  std::string order;
  const Window window([&](UINT message) {
    if (message != WM_TIMER || order != "a") return;
    order += "b";
    EXPECT_TRUE(worker.Run([&] { order += "d"; }, 1s));
    order += "e";
  });
  EXPECT_TRUE(worker.Run(
      [&] {
        order += "a";
        Sleep(200);
        order += "c";
      },
      1s));
  EXPECT_EQ(order + "f", "abcdef");
}

TEST(WorkerTest, EndlessWorkIsAbandoned) {
  const auto is_over = std::make_shared<std::atomic<bool>>(false);
  std::optional<Worker> worker(std::in_place);
  // Waiting is no work.
  EXPECT_TRUE(worker->Run([] { Sleep(400); }, 100ms));
  std::optional<bool> nested;
  const Window window([&](UINT message) {
    if (message != WM_TIMER || nested) return;
    nested = true;
    nested = worker->Run([] { FAIL() << "work behind what never ends"; }, 1s);
  });
  const auto started = GetTickCount();
  EXPECT_FALSE(worker->Run(
      [is_over] {
        while (!*is_over) {
        }
      },
      300ms));
  EXPECT_LT(GetTickCount() - started, 5000U);
  EXPECT_TRUE(worker->IsGivenUp());
  EXPECT_FALSE(worker->Run([] { FAIL() << "work of a worker that was given up"; }, 1s));
  EXPECT_EQ(nested, false);
  worker.reset();
  EXPECT_TRUE(Worker().Run([] {}, 1s));
  *is_over = true;
}

TEST(WorkerTest, WorkTakesEffectOnlyWhileItIsWaitedFor) {
  struct Shared {
    std::atomic<bool> is_over = false;
    std::atomic<int> answer = -1;
  };
  const auto shared = std::make_shared<Shared>();
  const auto spin = [](const auto& condition) {
    while (!condition()) {
    }
  };
  Worker worker;
  EXPECT_FALSE(worker.Run(
      [shared, spin] {
        spin([&] { return shared->is_over.load(); });
        shared->answer = Worker::MayCommit() ? 1 : 0;
      },
      100ms));
  shared->is_over = true;
  spin([&] { return shared->answer >= 0; });
  EXPECT_EQ(shared->answer, 0);

  const auto begun = GetTickCount();
  EXPECT_TRUE(Worker().Run(
      [&] {
        EXPECT_TRUE(Worker::MayCommit());
        spin([&] { return GetTickCount() - begun > 1000; });
      },
      100ms));
  EXPECT_TRUE(Worker::MayCommit());
}

TEST(WorkerTest, WorkMakesCallsOnTheThreadThatWaitsForIt) {
  Worker worker;
  const DWORD caller = GetCurrentThreadId();
  int calls = 0;
  const auto call = [&] {
    EXPECT_EQ(GetCurrentThreadId(), caller);
    // Its turn would come only after this.
    EXPECT_THROW(worker.Run([] {}, 1s), Error);
    if (++calls == 2) throw std::runtime_error("no answer");
  };
  const auto work = [&] {
    EXPECT_NE(GetCurrentThreadId(), caller);
    Worker::OnCaller(call);
  };
  EXPECT_TRUE(worker.Run(work, 1s));
  EXPECT_THROW(worker.Run(work, 1s), std::runtime_error);
  EXPECT_EQ(calls, 2);
  EXPECT_TRUE(worker.Run([] {}, 1s));
}

}  // namespace
}  // namespace corvessa::windows
