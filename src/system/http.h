#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

/// Requests over http and https, over the library that a system offers: src/curl on Linux, WinINet
/// on Windows.
namespace corvessa::system {

struct HttpRequest {
  std::string url;
  std::string header;  ///< one line "Name: value" besides the usual ones; none when empty
  std::string form;    ///< posted as application/x-www-form-urlencoded; a GET when empty
};

struct HttpAnswer {
  long status = 0;  ///< 0: no whole answer came
  std::string body;
  std::string trouble;  ///< why the status is not 200, to stand after "…: "
};

/// What one operation may still take of the network, all its requests together.
struct HttpAllowance {
  std::chrono::steady_clock::time_point until;
  std::size_t bytes = 0;  ///< of answers; counted down
};

/// Runs the requests side by side and gives their answers in the same order, when all are there or
/// the time is up. An answer longer than `max_size` bytes, or one for which time or bytes do not
/// suffice, counts as none. No redirection is followed: it could lead the request's header line, or
/// what was asked for by https, to where the user never sent it. No other scheme than http and
/// https is used. Throws Error when the system offers no way to make requests.
std::vector<HttpAnswer> Perform(const std::vector<HttpRequest>& requests, std::size_t max_size,
                                HttpAllowance& allowance);

}  // namespace corvessa::system
