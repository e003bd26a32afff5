#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "system/http.h"

namespace corvessa::engine {

/// What one operation may still take of the network and of what it answers.
struct Allowance {
  system::HttpAllowance network;
  std::size_t packets = 0;  ///< of keys
};

/// The text percent-encoded for a URL or a form.
std::string UrlEncoded(std::string_view text);

/// Where the Web Key Directory has the keys of an address: at its domain's own host for keys and,
/// for domains without one, at the domain itself. With a gateway, which serves all domains, there
/// only.
std::vector<std::string> DirectoryUrls(std::string_view address, std::string_view gateway);

/// The HKP key servers and the Web Key Directory. Whatever they answer is only bytes: the caller
/// judges the keys.
class KeyServers {
 public:
  /// One operation takes at most `total_time`.
  explicit KeyServers(std::chrono::milliseconds total_time) : total_time_(total_time) {}

  /// Blank- or comma-separated http(s) addresses. Throws Error for another kind of address. To look
  /// up, "wkd" stands for the Web Key Directory, and "wkd=" with an address for a gateway to it; it
  /// is asked first, and the others for what it has no keys of.
  void SetLookup(std::string_view servers);
  void SetUpdate(std::string_view servers);
  /// Sent with every request as a header line; none when empty.
  void SetCustomer(std::string_view customer) { customer_ = customer; }

  /// What the look-up servers said about one search.
  struct Answer {
    std::vector<std::string> keys;  ///< single binary keys, of all servers in their order
    bool reached =
        true;  ///< at least one server gave an answer that can be believed, or there is none
  };
  /// What one operation may take, from now on: the total time, 64 MiB, and keys of 5000 packets.
  Allowance NewAllowance() const;
  /// Searches for several texts (addresses, or key IDs as "0x…") at once, on all servers.
  std::vector<Answer> LookUp(const std::vector<std::string>& searches, Allowance& allowance) const;

  /// Sends an armoured key to every update server. Throws EngineFailure when there is none, or one
  /// did not take it.
  void Publish(const std::string& armoured) const;

 private:
  std::string CustomerHeader() const;
  void AskDirectories(const std::vector<std::string>& searches, Allowance& allowance,
                      std::vector<Answer>& answers) const;
  void AskServers(const std::vector<std::string>& searches, Allowance& allowance,
                  std::vector<Answer>& answers) const;

  std::chrono::milliseconds total_time_;
  std::vector<std::string> lookup_;
  bool asks_directories_ = false;
  std::string directory_gateway_;
  std::vector<std::string> update_;
  std::string customer_;
};

/// The keys of a key server's answer: those of its armoured blocks or, for a directory, binary
/// ones, each at most 1 MiB and 1000 packets, at most 32 and of `packets` packets, which it counts
/// down. False when that does not suffice, or the answer is not what a key server says (no armour,
/// or damaged).
bool ReadKeyServerAnswer(std::string_view answer, std::size_t& packets,
                         std::vector<std::string>& keys);
bool ReadDirectoryAnswer(std::string_view answer, std::size_t& packets,
                         std::vector<std::string>& keys);

}  // namespace corvessa::engine
