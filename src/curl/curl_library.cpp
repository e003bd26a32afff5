#include "curl/curl_library.h"

#include <dlfcn.h>
#include <optional>

namespace corvessa {
namespace {

/// The binary interface of the headers.
constexpr const char* kLibrary = "libcurl.so.4";

/// Looks up functions until one is missing.
class Functions {
 public:
  explicit Functions(void* library) : library_(library) {}

  template <typename Function>
  Functions& Find(const char* name, Function& function) {
    function = reinterpret_cast<Function>(library_ ? dlsym(library_, name) : nullptr);
    if (!function) library_ = nullptr;
    return *this;
  }
  bool AreComplete() const { return library_ != nullptr; }

 private:
  void* library_;
};

std::optional<CurlLibrary> Load() {
  CurlLibrary curl;
  decltype(&::curl_global_init) global_init = nullptr;
  Functions functions(dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL));
  functions.Find("curl_global_init", global_init)
      .Find("curl_easy_init", curl.easy_init)
      .Find("curl_easy_setopt", curl.easy_setopt)
      .Find("curl_easy_perform", curl.easy_perform)
      .Find("curl_easy_getinfo", curl.easy_getinfo)
      .Find("curl_easy_strerror", curl.easy_strerror)
      .Find("curl_easy_cleanup", curl.easy_cleanup)
      .Find("curl_multi_init", curl.multi_init)
      .Find("curl_multi_setopt", curl.multi_setopt)
      .Find("curl_multi_add_handle", curl.multi_add_handle)
      .Find("curl_multi_perform", curl.multi_perform)
      .Find("curl_multi_poll", curl.multi_poll)
      .Find("curl_multi_info_read", curl.multi_info_read)
      .Find("curl_multi_remove_handle", curl.multi_remove_handle)
      .Find("curl_multi_cleanup", curl.multi_cleanup)
      .Find("curl_slist_append", curl.slist_append)
      .Find("curl_slist_free_all", curl.slist_free_all);
  if (!functions.AreComplete() || global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) return {};
  return curl;
}

}  // namespace

const CurlLibrary* LoadCurl() {
  static const std::optional<CurlLibrary> curl = Load();
  return curl ? &*curl : nullptr;
}

}  // namespace corvessa
