#include "desk/profile/curl_inet.h"

#include <algorithm>
#include <array>
#include <curl/curl.h>
#include <memory>

#include "base/error.h"

namespace corvessa::desk {
namespace {

constexpr long kTotalSeconds = 60;
constexpr long kMaximumRedirections = 10;
constexpr const char* kSchemes = "http,https";

[[noreturn]] void RaiseFetch(std::string_view url, std::string_view reason) {
  Raise(kPathFileAccess,
        "The page " + std::string(url) + " cannot be fetched: " + std::string(reason));
}

/// Takes what still fits; taking less than there is makes curl end the transfer.
std::size_t Receive(const char* data, std::size_t size, std::size_t count, void* page_pointer) {
  auto& page = *static_cast<std::string*>(page_pointer);
  const std::size_t taken = std::min(size * count, CurlInet::kMaximumBytes - page.size());
  page.append(data, taken);
  return taken;
}

}  // namespace

std::string CurlInet::OpenURL(std::string_view url) {
  static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
  const std::unique_ptr<CURL, void (*)(CURL*)> curl(curl_easy_init(), curl_easy_cleanup);
  if (initialised != CURLE_OK || !curl) RaiseFetch(url, "libcurl does not start");
  if (url.find('\0') != std::string_view::npos) RaiseFetch(url, "it is no address");

  const std::string address(url);
  std::string page;
  std::array<char, CURL_ERROR_SIZE> reason{};
  curl_easy_setopt(curl.get(), CURLOPT_URL, address.c_str());
  curl_easy_setopt(curl.get(), CURLOPT_DEFAULT_PROTOCOL, "http");
  curl_easy_setopt(curl.get(), CURLOPT_PROTOCOLS_STR, kSchemes);
  curl_easy_setopt(curl.get(), CURLOPT_REDIR_PROTOCOLS_STR, kSchemes);
  curl_easy_setopt(curl.get(), CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(curl.get(), CURLOPT_MAXREDIRS, kMaximumRedirections);
  curl_easy_setopt(curl.get(), CURLOPT_FAILONERROR, 1L);
  curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT, kTotalSeconds);
  curl_easy_setopt(curl.get(), CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl.get(), CURLOPT_ERRORBUFFER, reason.data());
  curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, Receive);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &page);

  const CURLcode result = curl_easy_perform(curl.get());
  const bool cut = result == CURLE_WRITE_ERROR && page.size() == kMaximumBytes;
  if (result == CURLE_OK || cut) return page;
  RaiseFetch(url, reason[0] != '\0' ? reason.data() : curl_easy_strerror(result));
}

}  // namespace corvessa::desk
