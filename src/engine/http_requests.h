#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace corvessa::engine {

struct HttpRequest {
  std::string url;
  std::string customer;  ///< the customer's header line; none when empty
  std::string form;      ///< posted when it is not empty
};

struct HttpAnswer {
  long status = 0;  ///< 0: no whole answer came
  std::string body;
  std::string trouble;  ///< why the status is not 200
};

/// Runs the requests side by side, over http and https only, also when redirected. An answer longer
/// than `max_size` bytes, or one that is not there in time, counts as none.
std::vector<HttpAnswer> Perform(const std::vector<HttpRequest>& requests, std::size_t max_size,
                                std::chrono::milliseconds total_time);

std::string UrlEncoded(std::string_view text);

}  // namespace corvessa::engine
