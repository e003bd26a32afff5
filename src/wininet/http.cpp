#include "system/http.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <windows.h>
#include <wininet.h>

#include "base/error.h"
#include "win32/module.h"
#include "win32/utf16.h"

namespace corvessa::system {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMaxThreads = 8;
constexpr DWORD kPiece = 16384;
constexpr auto kNotInTime = "it did not answer in time";

/// No page of the browser's cache, no cookie or password of its user, no other address than asked
/// for and no window. Certificates are checked because no flag says otherwise.
constexpr DWORD kFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE |
                         INTERNET_FLAG_PRAGMA_NOCACHE | INTERNET_FLAG_NO_COOKIES |
                         INTERNET_FLAG_NO_AUTH | INTERNET_FLAG_NO_AUTO_REDIRECT |
                         INTERNET_FLAG_NO_UI;

struct HandleCloser {
  void operator()(HINTERNET handle) const { InternetCloseHandle(handle); }
};
using Handle = std::unique_ptr<void, HandleCloser>;

/// A failure of WinINet as the user is told it.
std::string TroubleOf(DWORD error) {
  switch (error) {
    case ERROR_INTERNET_TIMEOUT:
      return kNotInTime;
    case ERROR_INTERNET_NAME_NOT_RESOLVED:
      return "its name is unknown";
    case ERROR_INTERNET_CANNOT_CONNECT:
      return "it cannot be reached";
    case ERROR_INTERNET_INVALID_URL:
    case ERROR_INTERNET_UNRECOGNIZED_SCHEME:
      return "its address is invalid";
    case ERROR_INTERNET_SEC_CERT_DATE_INVALID:
    case ERROR_INTERNET_SEC_CERT_CN_INVALID:
    case ERROR_INTERNET_SEC_CERT_ERRORS:
    case ERROR_INTERNET_SEC_CERT_NO_REV:
    case ERROR_INTERNET_SEC_CERT_REV_FAILED:
    case ERROR_INTERNET_SEC_CERT_REVOKED:
    case ERROR_INTERNET_SEC_INVALID_CERT:
    case ERROR_INTERNET_INVALID_CA:
      return "its certificate is not valid";
    case ERROR_INTERNET_SECURITY_CHANNEL_ERROR:
      return "no secure connection can be made";
    default:
      return "network error " + std::to_string(error);
  }
}

/// The answer that none came, and why.
struct Trouble {
  std::string text;
};

[[noreturn]] void ThrowLastError() {
  throw Trouble{TroubleOf(GetLastError())};
}

Handle Checked(HINTERNET handle) {
  if (!handle) ThrowLastError();
  return Handle(handle);
}

std::wstring Wide(const std::string& text) {
  auto wide = win32::Utf16(text);
  if (!wide) throw Trouble{TroubleOf(ERROR_INTERNET_INVALID_URL)};
  return *std::move(wide);
}

/// What the threads of one operation share. It outlives the call when a server keeps one waiting.
class Transfers {
 public:
  Transfers(std::vector<HttpRequest> requests, std::size_t max_size, HttpAllowance allowance)
      : requests_(std::move(requests)),
        max_size_(max_size),
        until_(allowance.until),
        bytes_left_(allowance.bytes),
        answers_(requests_.size(), HttpAnswer{0, {}, kNotInTime}) {}

  /// For each thread: makes requests as long as there are any.
  void Work();
  /// The answers so far; true when all are there.
  bool Wait(std::vector<HttpAnswer>& answers);
  std::size_t BytesLeft();

 private:
  std::optional<std::size_t> Next();
  HttpAnswer Make(const HttpRequest& request);
  std::string ReadBody(HINTERNET opened);
  void Take(DWORD size);
  void SetTimeouts(HINTERNET opened) const;

  const std::vector<HttpRequest> requests_;
  const std::size_t max_size_;
  const Clock::time_point until_;
  Handle session_ =
      Handle(InternetOpenW(nullptr, INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
  std::mutex mutex_;
  std::condition_variable finished_;
  std::size_t bytes_left_;
  std::size_t next_ = 0;
  std::size_t done_ = 0;
  std::vector<HttpAnswer> answers_;
};

std::optional<std::size_t> Transfers::Next() {
  const std::lock_guard lock(mutex_);
  if (next_ == requests_.size() || Clock::now() >= until_) return std::nullopt;
  return next_++;
}

void Transfers::Work() {
  while (const auto at = Next()) {
    HttpAnswer answer;
    try {
      answer = Make(requests_[*at]);
    } catch (const Trouble& trouble) {
      answer = {0, {}, trouble.text};
    } catch (const std::bad_alloc&) {
      answer = {0, {}, "out of memory"};
    }
    const std::lock_guard lock(mutex_);
    answers_[*at] = std::move(answer);
    ++done_;
    finished_.notify_one();
  }
}

bool Transfers::Wait(std::vector<HttpAnswer>& answers) {
  std::unique_lock lock(mutex_);
  const bool is_all = finished_.wait_until(lock, until_, [&] { return done_ == requests_.size(); });
  answers = answers_;
  return is_all;
}

std::size_t Transfers::BytesLeft() {
  const std::lock_guard lock(mutex_);
  return bytes_left_;
}

void Transfers::Take(DWORD size) {
  const std::lock_guard lock(mutex_);
  if (Clock::now() >= until_) throw Trouble{kNotInTime};
  if (size > bytes_left_) throw Trouble{"its answer is too long"};
  bytes_left_ -= size;
}

/// For each single wait; what a server sends drop by drop is cut off in Take.
void Transfers::SetTimeouts(HINTERNET opened) const {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until_ - Clock::now());
  auto time = static_cast<DWORD>(std::max<std::int64_t>(left.count(), 1));
  for (const DWORD option : {INTERNET_OPTION_CONNECT_TIMEOUT, INTERNET_OPTION_SEND_TIMEOUT,
                             INTERNET_OPTION_RECEIVE_TIMEOUT}) {
    InternetSetOptionW(opened, option, &time, sizeof time);
  }
}

HttpAnswer Transfers::Make(const HttpRequest& request) {
  if (!session_) throw Trouble{"the system offers no way to use the network"};
  const std::wstring url = Wide(request.url);
  std::wstring host(url.size() + 1, L'\0');
  std::wstring path(url.size() + 1, L'\0');
  URL_COMPONENTSW parts = {};
  parts.dwStructSize = sizeof parts;
  parts.lpszHostName = host.data();
  parts.dwHostNameLength = static_cast<DWORD>(host.size());
  parts.lpszUrlPath = path.data();
  parts.dwUrlPathLength = static_cast<DWORD>(path.size());
  if (!InternetCrackUrlW(url.c_str(), 0, 0, &parts)) ThrowLastError();
  const bool is_secure = parts.nScheme == INTERNET_SCHEME_HTTPS;
  if (!is_secure && parts.nScheme != INTERNET_SCHEME_HTTP) {
    throw Trouble{TroubleOf(ERROR_INTERNET_UNRECOGNIZED_SCHEME)};
  }
  const auto server = Checked(InternetConnectW(session_.get(), host.c_str(), parts.nPort, nullptr,
                                               nullptr, INTERNET_SERVICE_HTTP, 0, 0));
  const bool is_post = !request.form.empty();
  const auto opened = Checked(HttpOpenRequestW(server.get(), is_post ? L"POST" : L"GET",
                                               path.c_str(), nullptr, nullptr, nullptr,
                                               kFlags | (is_secure ? INTERNET_FLAG_SECURE : 0), 0));
  SetTimeouts(opened.get());
  std::wstring headers = Wide(request.header.empty() ? "" : request.header + "\r\n");
  if (is_post) headers += L"Content-Type: application/x-www-form-urlencoded\r\n";
  std::string form = request.form;
  if (!HttpSendRequestW(opened.get(), headers.data(), static_cast<DWORD>(headers.size()),
                        form.data(), static_cast<DWORD>(form.size()))) {
    ThrowLastError();
  }
  HttpAnswer answer;
  DWORD status = 0;
  DWORD size = sizeof status;
  if (!HttpQueryInfoW(opened.get(), HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status, &size,
                      nullptr)) {
    ThrowLastError();
  }
  answer.body = ReadBody(opened.get());
  answer.status = static_cast<long>(status);
  answer.trouble = "it answered " + std::to_string(status);
  return answer;
}

std::string Transfers::ReadBody(HINTERNET opened) {
  std::string body;
  std::string piece(kPiece, '\0');
  while (true) {
    DWORD size = 0;
    // What is there, not a whole piece, which may be long in coming.
    if (!InternetQueryDataAvailable(opened, &size, 0, 0)) ThrowLastError();
    if (size == 0) return body;
    if (!InternetReadFile(opened, piece.data(), std::min(size, kPiece), &size)) ThrowLastError();
    Take(size);
    if (size > max_size_ - body.size()) throw Trouble{"its answer is too long"};
    body.append(piece, 0, size);
  }
}

/// As many as the system gives, at least one.
std::vector<std::thread> StartThreads(const std::shared_ptr<Transfers>& transfers,
                                      std::size_t count) {
  std::vector<std::thread> threads;
  threads.reserve(count);
  try {
    while (threads.size() < count) threads.emplace_back([transfers] { transfers->Work(); });
  } catch (const std::system_error&) {
    if (threads.empty()) throw;
  }
  return threads;
}

}  // namespace

std::vector<HttpAnswer> Perform(const std::vector<HttpRequest>& requests, std::size_t max_size,
                                HttpAllowance& allowance) {
  if (requests.empty()) return {};
  const auto transfers = std::make_shared<Transfers>(requests, max_size, allowance);
  auto threads = StartThreads(transfers, std::min(requests.size(), kMaxThreads));
  std::vector<HttpAnswer> answers;
  if (transfers->Wait(answers)) {
    for (auto& thread : threads) thread.join();
  } else {
    // They end by themselves when their servers are done with them.
    win32::PinModule();
    for (auto& thread : threads) thread.detach();
  }
  allowance.bytes = transfers->BytesLeft();
  return answers;
}

}  // namespace corvessa::system
