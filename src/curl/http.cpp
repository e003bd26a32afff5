#include "system/http.h"

#include <cstdlib>
#include <memory>
#include <utility>

#include "base/error.h"
#include "curl/curl_library.h"

namespace corvessa::system {
namespace {

using Clock = std::chrono::steady_clock;

const CurlLibrary& Curl() {
  const CurlLibrary* const curl = LoadCurl();
  if (!curl) Raise(kCannotCreateComponent, "Cannot use the network: libcurl is not installed.");
  return *curl;
}

struct CurlDeleter {
  void operator()(CURL* easy) const { Curl().easy_cleanup(easy); }
  void operator()(curl_slist* list) const { Curl().slist_free_all(list); }
};
struct MultiDeleter {
  void operator()(CURLM* multi) const { Curl().multi_cleanup(multi); }
};
using Easy = std::unique_ptr<CURL, CurlDeleter>;
using Headers = std::unique_ptr<curl_slist, CurlDeleter>;
using Multi = std::unique_ptr<CURLM, MultiDeleter>;

/// One request on its way. It stays where it is: the transfer points to it.
class Transfer {
 public:
  Transfer(const HttpRequest& request, std::size_t max_size, HttpAllowance& allowance)
      : max_size_(max_size), allowance_(allowance) {
    const auto set = [this](CURLoption option, auto value) {
      Curl().easy_setopt(easy(), option, value);
    };
    set(CURLOPT_URL, request.url.c_str());
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_FOLLOWLOCATION, 0L);
    set(CURLOPT_NOSIGNAL, 1L);
    // As other programs do: for a network with certificate authorities of its own.
    if (const char* const authorities = std::getenv("SSL_CERT_FILE")) {
      set(CURLOPT_CAINFO, authorities);
    }
    set(CURLOPT_PRIVATE, this);
    set(CURLOPT_WRITEFUNCTION, &Transfer::Take);
    set(CURLOPT_WRITEDATA, this);
    if (!request.header.empty()) {
      headers_.reset(Curl().slist_append(nullptr, request.header.c_str()));
      set(CURLOPT_HTTPHEADER, headers_.get());
    }
    if (!request.form.empty()) {
      set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.form.size()));
      set(CURLOPT_COPYPOSTFIELDS, request.form.c_str());
    }
  }
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  CURL* easy() const { return easy_.get(); }

  void Finish(CURLcode result) {
    if (result != CURLE_OK) {
      answer_ = {0, {}, Curl().easy_strerror(result)};
      return;
    }
    Curl().easy_getinfo(easy(), CURLINFO_RESPONSE_CODE, &answer_.status);
    answer_.trouble = "it answered " + std::to_string(answer_.status);
  }
  HttpAnswer TakeAnswer() { return std::move(answer_); }

 private:
  static std::size_t Take(char* bytes, std::size_t /*one*/, std::size_t size, void* self) {
    auto& transfer = *static_cast<Transfer*>(self);
    std::string& body = transfer.answer_.body;
    std::size_t& bytes_left = transfer.allowance_.bytes;
    if (size > transfer.max_size_ - body.size() || size > bytes_left) return 0;
    bytes_left -= size;
    body.append(bytes, size);
    return size;
  }

  std::size_t max_size_;
  HttpAllowance& allowance_;
  Easy easy_{Curl().easy_init()};
  Headers headers_;
  HttpAnswer answer_{0, {}, "it did not answer in time"};
};

void FinishDone(CURLM* multi) {
  int left = 0;
  while (const CURLMsg* const message = Curl().multi_info_read(multi, &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    char* transfer = nullptr;
    Curl().easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
    reinterpret_cast<Transfer*>(transfer)->Finish(message->data.result);
  }
}

void RunUntil(CURLM* multi, Clock::time_point deadline) {
  int running = 1;
  while (running > 0 && Clock::now() < deadline) {
    if (Curl().multi_perform(multi, &running) != CURLM_OK) return;
    FinishDone(multi);
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    if (running > 0 && left.count() > 0) {
      Curl().multi_poll(multi, nullptr, 0, static_cast<int>(left.count()), nullptr);
    }
  }
}

}  // namespace

std::vector<HttpAnswer> Perform(const std::vector<HttpRequest>& requests, std::size_t max_size,
                                HttpAllowance& allowance) {
  if (requests.empty()) return {};
  const Multi multi(Curl().multi_init());
  Curl().multi_setopt(multi.get(), CURLMOPT_MAX_HOST_CONNECTIONS, 8L);
  std::vector<std::unique_ptr<Transfer>> transfers;
  for (const auto& request : requests) {
    transfers.push_back(std::make_unique<Transfer>(request, max_size, allowance));
    Curl().multi_add_handle(multi.get(), transfers.back()->easy());
  }
  RunUntil(multi.get(), allowance.until);
  std::vector<HttpAnswer> answers;
  for (const auto& transfer : transfers) {
    Curl().multi_remove_handle(multi.get(), transfer->easy());
    answers.push_back(transfer->TakeAnswer());
  }
  return answers;
}

}  // namespace corvessa::system
