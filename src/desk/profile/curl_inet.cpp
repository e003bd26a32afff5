#include <algorithm>
#include <array>
#include <memory>

#include "base/error.h"
#include "curl/curl_library.h"
#include "desk/profile/system_services.h"

namespace corvessa::desk {
namespace {

constexpr long kTotalSeconds = 60;
constexpr long kMaximumRedirections = 10;
constexpr const char* kSchemes = "http,https";

[[noreturn]] void RaiseFetch(std::string_view url, std::string_view reason) {
  Raise(kPathFileAccess, "Cannot fetch the page " + std::string(url) + ": " + std::string(reason));
}

/// Takes what still fits. Taking less than offered makes curl end the transfer.
std::size_t Receive(const char* data, std::size_t size, std::size_t count, void* page_pointer) {
  auto& page = *static_cast<std::string*>(page_pointer);
  const std::size_t taken = std::min(size * count, CurlInet::kMaximumBytes - page.size());
  page.append(data, taken);
  return taken;
}

}  // namespace

std::string CurlInet::OpenURL(std::string_view url) {
  const CurlLibrary* const curl = LoadCurl();
  if (!curl) RaiseFetch(url, "libcurl is not installed");
  const std::unique_ptr<CURL, decltype(curl->easy_cleanup)> easy(curl->easy_init(),
                                                                 curl->easy_cleanup);
  const auto set = [&](CURLoption option, auto value) {
    curl->easy_setopt(easy.get(), option, value);
  };
  if (url.find('\0') != std::string_view::npos) RaiseFetch(url, "not an address");

  const std::string address(url);
  std::string page;
  std::array<char, CURL_ERROR_SIZE> reason{};
  set(CURLOPT_URL, address.c_str());
  set(CURLOPT_DEFAULT_PROTOCOL, "http");
  set(CURLOPT_PROTOCOLS_STR, kSchemes);
  set(CURLOPT_REDIR_PROTOCOLS_STR, kSchemes);
  set(CURLOPT_FOLLOWLOCATION, 1L);
  set(CURLOPT_MAXREDIRS, kMaximumRedirections);
  set(CURLOPT_FAILONERROR, 1L);
  set(CURLOPT_TIMEOUT, kTotalSeconds);
  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_ERRORBUFFER, reason.data());
  set(CURLOPT_WRITEFUNCTION, Receive);
  set(CURLOPT_WRITEDATA, &page);

  const CURLcode result = curl->easy_perform(easy.get());
  const bool cut = result == CURLE_WRITE_ERROR && page.size() == kMaximumBytes;
  if (result == CURLE_OK || cut) return page;
  RaiseFetch(url, reason[0] != '\0' ? reason.data() : curl->easy_strerror(result));
}

}  // namespace corvessa::desk
