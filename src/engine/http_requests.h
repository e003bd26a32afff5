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

/// What one operation may still take of the network, however many requests it makes, all answers
/// together.
struct Allowance {
  std::chrono::steady_clock::time_point until;
  std::size_t bytes = 0;
  std::size_t packets = 0;  ///< of keys, for whoever reads the answers
};

/// Runs the requests side by side, over http and https only. An answer longer than `max_size`
/// bytes, or one for which time or bytes do not suffice, counts as none. No redirection is
/// followed: it could lead the customer's line, or an encrypted request, to where the user never
/// sent it.
std::vector<HttpAnswer> Perform(const std::vector<HttpRequest>& requests, std::size_t max_size,
                                Allowance& allowance);

std::string UrlEncoded(std::string_view text);

}  // namespace corvessa::engine
