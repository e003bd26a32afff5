// What the engine reads itself before or beside the library: packets, the key index, key servers'
// answers, armour, clear-signed texts. The first byte chooses.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "engine/armour.h"
#include "engine/key_index.h"
#include "engine/key_servers.h"
#include "engine/packets.h"
#include "engine/rnp_handles.h"
#include "engine/status.h"
#include "engine/verified_contents.h"

namespace {

using namespace corvessa::engine;

void Require(bool condition) {
  if (!condition) std::abort();
}

void ReadMessage(std::string message) {
  const auto start = ReadEncryptedMessageStart(message);
  Require(!AreSignatures(message) || !start);
  Require(!BeginsUnencrypted(message) || !start);
  const bool is_all_known = start && start->known.size() == start->length;
  Require(!BeginsWithSessionKey(message) || !BeginsUnencrypted(message));
  const std::string kept = WithoutIgnoredPackets(message);
  Require(kept.size() <= message.size() && WithoutIgnoredPackets(kept) == kept);
  Require(HideRecipients(message) == is_all_known);
  if (!start) return;
  Require(start->length < message.size() && start->known.size() <= start->length);
  std::string known = is_all_known ? message.substr(0, start->length) : start->known;
  for (const auto& packet : start->session_keys) {
    Require(packet.key_id_offset + kKeyIdLength <= known.size());
    known.replace(packet.key_id_offset, kKeyIdLength, kKeyIdLength, '\0');
    Require(IsHidden(known, packet));
  }
  const int algorithm = start->session_keys.empty() ? 1 : start->session_keys[0].algorithm;
  const bool revealed = RevealRecipients(known, *start, algorithm, "0123456789ABCDEF");
  Require(revealed == !start->session_keys.empty());
  if (revealed) Require(KeyIdOf(known, start->session_keys[0]) == "0123456789ABCDEF");
}

void ReadArmour(const std::string& text) {
  const auto in_pieces = [&](std::size_t size) {
    TextSink sink;
    ArmourReader reader(sink);
    for (std::size_t at = 0; at < text.size(); at += size) reader.Write(text.substr(at, size));
    return std::pair(sink.text, reader.IsWhole());
  };
  Require(in_pieces(1) == in_pieces(4096));
  ArmourHeader(text, "Charset");
  const std::string decoded = DecodeText(text, {"big5", "no such charset"});
  Require(EarlierEncodings(decoded, {"gb18030"}).size() < 64);
}

void WrapText(const std::string& text) {
  const InnerSignatures signatures{{}, text.substr(0, 100), "SHA512"};
  Require(UnwrapSigned(WrapSigned(text, signatures, {})) == text);
}

void ReadRing(std::string_view ring) {
  bool damaged = false;
  std::size_t end = 0;
  for (const auto& piece : SplitKeyRing(ring, damaged)) {
    Require(piece.offset == end && piece.length > 0);
    std::size_t covered = 0;
    for (const auto& part : SplitKey(ring.substr(piece.offset, piece.length))) {
      covered += part.bytes.size();
    }
    Require(covered == piece.length);
    end += piece.length;
  }
  Require(end <= ring.size() && (damaged || end == ring.size()));
}

void ReadIndex(const std::string& text) {
  for (const auto& candidate : {text, WithChecksum(text)}) {
    const auto index = KeyIndex::Parse(candidate);
    if (index) Require(KeyIndex::Parse(index->Format())->Entries() == index->Entries());
  }
}

void ReadAnswer(std::string_view answer) {
  std::vector<std::string> keys;
  std::size_t packets = 5000;
  ReadKeyServerAnswer(answer, packets, keys);
  Require(keys.size() <= 32);
  for (const auto& key : keys) Require(key.size() <= (1U << 20));
}

void ReadSigned(std::string_view text) {
  try {
    const auto parts = ReadClearSigned(text);
    Require(text.find(parts.signature) != std::string_view::npos);
    Require(parts.content.size() <= 2 * text.size());
  } catch (const EngineFailure& failure) {
    Require(failure.status == kBadContent || failure.status == kBadFormat);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const QuietLibrary quiet;
  const std::string input(reinterpret_cast<const char*>(data) + 1, size - 1);
  switch (data[0] % 7) {
    case 0:
      ReadMessage(input);
      break;
    case 1:
      ReadRing(input);
      break;
    case 2:
      ReadIndex(input);
      break;
    case 3:
      ReadAnswer(input);
      break;
    case 4:
      ReadSigned(input);
      break;
    case 5:
      ReadArmour(input);
      break;
    default:
      WrapText(input);
  }
  return 0;
}
