#pragma once

#include <curl/curl.h>

namespace corvessa {

/// The functions of libcurl that are in use.
///
/// The library is loaded with the first request and stays: it brings some thirty more with it,
/// which take longer to load than a whole offline run, and a process that holds secret keys should
/// not carry them for nothing.
struct CurlLibrary {
  decltype(&::curl_easy_init) easy_init = nullptr;
  decltype(&::curl_easy_setopt) easy_setopt = nullptr;
  decltype(&::curl_easy_perform) easy_perform = nullptr;
  decltype(&::curl_easy_getinfo) easy_getinfo = nullptr;
  decltype(&::curl_easy_strerror) easy_strerror = nullptr;
  decltype(&::curl_easy_cleanup) easy_cleanup = nullptr;
  decltype(&::curl_multi_init) multi_init = nullptr;
  decltype(&::curl_multi_setopt) multi_setopt = nullptr;
  decltype(&::curl_multi_add_handle) multi_add_handle = nullptr;
  decltype(&::curl_multi_perform) multi_perform = nullptr;
  decltype(&::curl_multi_poll) multi_poll = nullptr;
  decltype(&::curl_multi_info_read) multi_info_read = nullptr;
  decltype(&::curl_multi_remove_handle) multi_remove_handle = nullptr;
  decltype(&::curl_multi_cleanup) multi_cleanup = nullptr;
  decltype(&::curl_slist_append) slist_append = nullptr;
  decltype(&::curl_slist_free_all) slist_free_all = nullptr;
};

/// The library, loaded and initialised; null when it is not on this machine or does not start.
const CurlLibrary* LoadCurl();

}  // namespace corvessa
