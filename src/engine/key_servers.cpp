#include "engine/key_servers.h"

#include <algorithm>
#include <cstdint>

#include "base/error.h"
#include "base/text.h"
#include "engine/armour.h"
#include "engine/digest.h"
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

std::vector<std::string> Words(std::string_view list) {
  std::vector<std::string> words;
  while (true) {
    const auto begin = list.find_first_not_of(kSeparators);
    if (begin == std::string_view::npos) return words;
    const auto end = std::min(list.find_first_of(kSeparators, begin), list.size());
    words.emplace_back(list.substr(begin, end - begin));
    list.remove_prefix(end);
  }
}

std::vector<std::string> Servers(std::string_view list) {
  std::vector<std::string> servers;
  for (auto& word : Words(list)) {
    std::string server = WebAddress(std::move(word));
    if (!server.starts_with("http://") && !server.starts_with("https://")) {
      Raise(kInvalidArgument, "\"" + server + "\" is no http or https address of a key server.");
    }
    while (server.ends_with('/')) server.pop_back();
    servers.push_back(std::move(server));
  }
  return servers;
}

using ReadKeys = bool(std::string_view, std::size_t&, std::vector<std::string>&);

bool TakeAnswer(const system::HttpAnswer& answer, ReadKeys read, Allowance& allowance,
                KeyServers::Answer& into) {
  if (answer.status == 404) return true;
  return answer.status == 200 && read(answer.body, allowance.packets, into.keys);
}

constexpr std::string_view kDirectory = "wkd";
constexpr std::string_view kGateway = "wkd=http";

/// What directories name files by: five bits a character.
std::string ZBase32(std::string_view bytes) {
  static constexpr std::string_view kDigits = "ybndrfg8ejkmcpqxot1uwisza345h769";
  std::string text;
  std::uint32_t bits = 0;
  int count = 0;
  for (const char byte : bytes) {
    bits = bits << 8 | static_cast<std::uint8_t>(byte);
    for (count += 8; count >= 5; count -= 5) text += kDigits[bits >> (count - 5) & 31];
  }
  if (count > 0) text += kDigits[bits << (5 - count) & 31];
  return text;
}

/// The single keys in binary ones.
bool TakeKeys(std::string_view ring, std::size_t& packets, std::vector<std::string>& keys) {
  bool damaged = false;
  for (const auto& piece : SplitKeyRing(ring, damaged)) {
    if (keys.size() >= kMaxKeys) return true;
    if (piece.length > kMaxKeySize || piece.packets > kMaxKeyPackets) continue;
    if (piece.packets > packets) return false;
    packets -= piece.packets;
    keys.emplace_back(ring.substr(piece.offset, piece.length));
  }
  return !damaged;
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
    if (!TakeKeys(ring, packets, keys)) return false;
  }
  return true;
}

bool ReadDirectoryAnswer(std::string_view answer, std::size_t& packets,
                         std::vector<std::string>& keys) {
  // Some serve armour, which they must not.
  return FindArmour(answer, kBlock) ? ReadKeyServerAnswer(answer, packets, keys)
                                    : !answer.empty() && TakeKeys(answer, packets, keys);
}

std::vector<std::string> DirectoryUrls(std::string_view address, std::string_view gateway) {
  const auto at = address.rfind('@');
  if (at == std::string_view::npos) return {};
  const std::string local(address.substr(0, at));
  const std::string domain(address.substr(at + 1));
  Digest digest("SHA-1");
  digest.Add(LCase(local));
  const std::string file = "hu/" + ZBase32(digest.Finish()) + "?l=" + UrlEncoded(local);
  const std::string place = "/.well-known/openpgpkey/";
  const std::string of_all = place + UrlEncoded(domain) + "/" + file;
  if (!gateway.empty()) return {std::string(gateway) + of_all};
  // What could lead to another host or port is no domain.
  if (UrlEncoded(domain) != domain) return {};
  return {"https://openpgpkey." + domain + of_all, "https://" + domain + place + file};
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
  std::string others;
  bool asks_directories = false;
  std::string gateway;
  for (const auto& server : Words(servers)) {
    const bool is_gateway = server.starts_with(kGateway);
    if (is_gateway) gateway = Servers(server.substr(kDirectory.size() + 1)).at(0);
    if (is_gateway || server == kDirectory) {
      asks_directories = true;
    } else {
      others += server + " ";
    }
  }
  lookup_ = Servers(others);
  asks_directories_ = asks_directories;
  directory_gateway_ = gateway;
}

void KeyServers::SetUpdate(std::string_view servers) {
  update_ = Servers(servers);
}

Allowance KeyServers::NewAllowance() const {
  return {{std::chrono::steady_clock::now() + total_time_, kMaxOperation}, kMaxOperationPackets};
}

std::vector<KeyServers::Answer> KeyServers::LookUp(const std::vector<std::string>& searches,
                                                   Allowance& allowance) const {
  std::vector<Answer> answers(searches.size());
  for (auto& answer : answers) answer.reached = lookup_.empty() && !asks_directories_;
  if (asks_directories_) AskDirectories(searches, allowance, answers);
  AskServers(searches, allowance, answers);
  return answers;
}

void KeyServers::AskDirectories(const std::vector<std::string>& searches, Allowance& allowance,
                                std::vector<Answer>& answers) const {
  std::vector<system::HttpRequest> requests;
  std::vector<std::size_t> asked;
  for (std::size_t i = 0; i < searches.size(); ++i) {
    for (auto& url : DirectoryUrls(searches[i], directory_gateway_)) {
      // It serves everybody and knows no customers.
      requests.push_back({std::move(url), {}, {}});
      asked.push_back(i);
    }
  }
  const auto responses = Perform(requests, kMaxAnswer, allowance.network);
  for (std::size_t i = 0; i < asked.size(); ++i) {
    auto& answer = answers[asked[i]];
    // A domain's own host for keys comes first.
    if (!answer.keys.empty()) continue;
    const bool believed = TakeAnswer(responses[i], ReadDirectoryAnswer, allowance, answer);
    answer.reached = answer.reached || believed;
  }
}

void KeyServers::AskServers(const std::vector<std::string>& searches, Allowance& allowance,
                            std::vector<Answer>& answers) const {
  std::vector<system::HttpRequest> requests;
  std::vector<std::size_t> asked;
  for (std::size_t i = 0; i < searches.size(); ++i) {
    if (!answers[i].keys.empty()) continue;
    asked.push_back(i);
    const auto& search = searches[i];
    for (const auto& server : lookup_) {
      requests.push_back(
          {server + "/pks/lookup?op=get&options=mr&exact=on&search=" + UrlEncoded(search),
           CustomerHeader(),
           {}});
    }
  }
  const auto responses = Perform(requests, kMaxAnswer, allowance.network);
  for (std::size_t i = 0; i < asked.size(); ++i) {
    auto& answer = answers[asked[i]];
    for (std::size_t j = 0; j < lookup_.size(); ++j) {
      const auto& response = responses[i * lookup_.size() + j];
      const bool believed = TakeAnswer(response, ReadKeyServerAnswer, allowance, answer);
      answer.reached = answer.reached || believed;
    }
  }
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
