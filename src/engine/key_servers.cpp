#include "engine/key_servers.h"

#include <algorithm>

#include "base/error.h"
#include "engine/armour.h"
#include "engine/packets.h"
#include "engine/status.h"
#include "system/http.h"

namespace corvessa::engine {
namespace {

constexpr std::size_t kMaxKeySize = std::size_t{1} << 20;
constexpr std::size_t kMaxKeys = 32;
// Armour takes four characters for three bytes, and line ends.
constexpr std::size_t kMaxAnswer = kMaxKeySize * kMaxKeys / 2 * 3;
constexpr std::size_t kMaxOperation = std::size_t{64} << 20;
// The library takes up to a millisecond for each when it reads a key and checks its signatures,
// and within one key more: it looks at every signature again for each subkey.
constexpr std::size_t kMaxKeyPackets = 1000;
constexpr std::size_t kMaxOperationPackets = 5000;
constexpr std::string_view kBlock = "PUBLIC KEY BLOCK";
constexpr std::string_view kSeparators = " ,;\t";

/// The schemes of their own that key servers go by mean http on port 11371 and https.
std::string WebAddress(std::string server) {
  if (server.starts_with("hkps://")) return server.replace(0, 4, "https");
  if (!server.starts_with("hkp://")) return server;
  server.replace(0, 3, "http");
  const auto host = std::string_view("http://").size();
  const auto end = std::min(server.find('/', host), server.size());
  const auto bracket = std::min(server.find(']', host), end);
  if (server.find(':', bracket == end ? host : bracket) >= end) server.insert(end, ":11371");
  return server;
}

std::vector<std::string> Servers(std::string_view list) {
  std::vector<std::string> servers;
  while (true) {
    const auto begin = list.find_first_not_of(kSeparators);
    if (begin == std::string_view::npos) return servers;
    const auto end = std::min(list.find_first_of(kSeparators, begin), list.size());
    std::string server = WebAddress(std::string(list.substr(begin, end - begin)));
    list.remove_prefix(end);
    if (!server.starts_with("http://") && !server.starts_with("https://")) {
      Raise(kInvalidArgument, "\"" + server + "\" is no http or https address of a key server.");
    }
    while (server.ends_with('/')) server.pop_back();
    servers.push_back(std::move(server));
  }
}

bool TakeAnswer(const system::HttpAnswer& answer, Allowance& allowance, KeyServers::Answer& into) {
  if (answer.status == 404) return true;
  return answer.status == 200 && ReadKeyServerAnswer(answer.body, allowance.packets, into.keys);
}

}  // namespace

bool ReadKeyServerAnswer(std::string_view answer, std::size_t& packets,
                         std::vector<std::string>& keys) {
  auto block = FindArmour(answer, kBlock);
  if (!block) return false;
  for (; block; block = FindArmour(block->after, kBlock)) {
    std::string ring;
    try {
      ring = Dearmour(block->block);
    } catch (const EngineFailure&) {
      return false;
    }
    bool damaged = false;
    for (const auto& piece : SplitKeyRing(ring, damaged)) {
      if (keys.size() >= kMaxKeys) return true;
      if (piece.length > kMaxKeySize || piece.packets > kMaxKeyPackets) continue;
      if (piece.packets > packets) return false;
      packets -= piece.packets;
      keys.push_back(ring.substr(piece.offset, piece.length));
    }
    if (damaged) return false;
  }
  return true;
}

std::string UrlEncoded(std::string_view text) {
  static constexpr std::string_view kDigits = "0123456789ABCDEF";
  static constexpr std::string_view kUnreserved =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
  std::string encoded;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (kUnreserved.find(c) != std::string_view::npos) {
      encoded += c;
    } else {
      encoded.append({'%', kDigits[byte >> 4], kDigits[byte & 15]});
    }
  }
  return encoded;
}

std::string KeyServers::CustomerHeader() const {
  return customer_.empty() ? std::string() : "X-Nimbra-CustomerID: " + customer_;
}

void KeyServers::SetLookup(std::string_view servers) {
  lookup_ = Servers(servers);
}

void KeyServers::SetUpdate(std::string_view servers) {
  update_ = Servers(servers);
}

Allowance KeyServers::NewAllowance() const {
  return {{std::chrono::steady_clock::now() + total_time_, kMaxOperation}, kMaxOperationPackets};
}

std::vector<KeyServers::Answer> KeyServers::LookUp(const std::vector<std::string>& searches,
                                                   Allowance& allowance) const {
  std::vector<system::HttpRequest> requests;
  for (const auto& search : searches) {
    for (const auto& server : lookup_) {
      requests.push_back(
          {server + "/pks/lookup?op=get&options=mr&exact=on&search=" + UrlEncoded(search),
           CustomerHeader(),
           {}});
    }
  }
  const auto responses = Perform(requests, kMaxAnswer, allowance.network);
  std::vector<Answer> answers(searches.size());
  for (std::size_t i = 0; i < searches.size(); ++i) {
    answers[i].reached = lookup_.empty();
    for (std::size_t j = 0; j < lookup_.size(); ++j) {
      const bool believed = TakeAnswer(responses[i * lookup_.size() + j], allowance, answers[i]);
      answers[i].reached = answers[i].reached || believed;
    }
  }
  return answers;
}

void KeyServers::Publish(const std::string& armoured) const {
  if (update_.empty()) Fail(kIoTrouble, "There is no key server to publish to.");
  std::vector<system::HttpRequest> requests;
  for (const auto& server : update_) {
    requests.push_back({server + "/pks/add", CustomerHeader(), "keytext=" + UrlEncoded(armoured)});
  }
  auto allowance = NewAllowance();
  const auto responses = Perform(requests, kMaxAnswer, allowance.network);
  for (std::size_t i = 0; i < update_.size(); ++i) {
    if (responses[i].status == 200) continue;
    Fail(kIoTrouble,
         "The key server " + update_[i] + " did not take the key: " + responses[i].trouble + ".");
  }
}

}  // namespace corvessa::engine
