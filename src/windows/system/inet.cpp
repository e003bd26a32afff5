#include <algorithm>
#include <array>
#include <memory>
#include <thread>
#include <windows.h>
#include <wininet.h>

#include "base/error.h"
#include "win32/handle.h"
#include "win32/module.h"
#include "win32/utf16.h"
#include "windows/com/errors.h"
#include "windows/system/services.h"

namespace corvessa::windows {
namespace {

constexpr std::size_t kMaximumBytes = 1024 * 1024;
constexpr DWORD kSeconds = 60;

/// No page of the browser's cache, none of its user's passwords and no window.
constexpr DWORD kFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE |
                         INTERNET_FLAG_PRAGMA_NOCACHE | INTERNET_FLAG_NO_COOKIES |
                         INTERNET_FLAG_NO_AUTH | INTERNET_FLAG_NO_UI;

struct HandleCloser {
  void operator()(HINTERNET handle) const { InternetCloseHandle(handle); }
};
using Handle = std::unique_ptr<void, HandleCloser>;

/// One page; the thread that fetches it may outlive who asked for it.
struct Fetch {
  std::wstring url;
  std::string page = {};
  DWORD error = ERROR_SUCCESS;
  win32::Handle done{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
};

/// GetLastError after a failed step.
DWORD ReadPage(Fetch& fetch) {
  const Handle session(
      InternetOpenW(L"Corvessa", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
  if (!session) return GetLastError();
  const Handle opened(InternetOpenUrlW(session.get(), fetch.url.c_str(), nullptr, 0, kFlags, 0));
  if (!opened) return GetLastError();
  DWORD status = 0;
  DWORD size = sizeof status;
  if (!HttpQueryInfoW(opened.get(), HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status, &size,
                      nullptr)) {
    return GetLastError();
  }
  if (status >= 400) return ERROR_HTTP_INVALID_SERVER_RESPONSE;
  std::array<char, 16384> piece;
  while (fetch.page.size() < kMaximumBytes) {
    DWORD read = 0;
    if (!InternetReadFile(opened.get(), piece.data(), piece.size(), &read)) return GetLastError();
    if (read == 0) break;
    fetch.page.append(piece.data(), read);
  }
  fetch.page.resize(std::min(fetch.page.size(), kMaximumBytes));
  return ERROR_SUCCESS;
}

/// Lets windows be painted, but nobody act on them, until the event is set. False: out of time.
bool WaitFor(HANDLE event) {
  const ULONGLONG end = GetTickCount64() + kSeconds * 1000;
  while (true) {
    const ULONGLONG now = GetTickCount64();
    if (now >= end) return false;
    const DWORD result = MsgWaitForMultipleObjects(1, &event, FALSE, static_cast<DWORD>(end - now),
                                                   QS_PAINT | QS_SENDMESSAGE);
    if (result == WAIT_OBJECT_0) return true;
    MSG message;
    while (PeekMessageW(&message, nullptr, WM_PAINT, WM_PAINT, PM_REMOVE)) {
      DispatchMessageW(&message);
    }
  }
}

}  // namespace

std::string WinInet::OpenURL(std::string_view url) {
  const auto fetch = std::make_shared<Fetch>(Fetch{win32::ShownUtf16(url)});
  const bool is_page = fetch->url.starts_with(L"http://") || fetch->url.starts_with(L"https://");
  if (!is_page || fetch->url.find(L'\0') != std::wstring::npos) Raise(kInvalidArgument);
  std::thread thread([fetch] {
    try {
      fetch->error = ReadPage(*fetch);
    } catch (const std::bad_alloc&) {
      fetch->error = ERROR_NOT_ENOUGH_MEMORY;
    }
    SetEvent(fetch->done.Get());
  });
  if (!WaitFor(fetch->done.Get())) {
    // It ends by itself when the server is done with it.
    win32::PinModule();
    thread.detach();
    com::Check(HRESULT_FROM_WIN32(ERROR_INTERNET_TIMEOUT));
  }
  thread.join();
  com::Check(HRESULT_FROM_WIN32(fetch->error));
  return std::move(fetch->page);
}

}  // namespace corvessa::windows
