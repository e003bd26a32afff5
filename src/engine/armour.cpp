#include "engine/armour.h"

#include "engine/rnp_streams.h"
#include "engine/status.h"

namespace corvessa::engine {
namespace {

/// Where a line that is exactly `line` (blanks after it allowed) starts; npos when there is none.
std::size_t FindLine(std::string_view text, std::string_view line, std::size_t from) {
  for (auto at = text.find(line, from); at != std::string_view::npos;
       at = text.find(line, at + 1)) {
    const bool starts_line = at == 0 || text[at - 1] == '\n' || text[at - 1] == '\r';
    const auto rest = text.find_first_not_of(" \t", at + line.size());
    const bool ends_line =
        rest == std::string_view::npos || text[rest] == '\n' || text[rest] == '\r';
    if (starts_line && ends_line) return at;
  }
  return std::string_view::npos;
}

}  // namespace

std::optional<ArmourBlock> FindArmour(std::string_view text, std::string_view kind) {
  const std::string marks[] = {"-----BEGIN PGP " + std::string(kind) + "-----",
                               "-----END PGP " + std::string(kind) + "-----"};
  const auto begin = FindLine(text, marks[0], 0);
  if (begin == std::string_view::npos) return std::nullopt;
  auto end = FindLine(text, marks[1], begin);
  end = end == std::string_view::npos ? text.size() : end + marks[1].size();
  return ArmourBlock{text.substr(0, begin), text.substr(begin, end - begin), text.substr(end)};
}

std::string Dearmour(std::string_view block) {
  TextSource source(block);
  TextSink sink;
  const Stream stream(source, sink);
  const auto result = rnp_dearmor(stream.input(), stream.output());
  stream.Rethrow();
  if (result != RNP_SUCCESS) Fail(kBadContent, "The OpenPGP armour is damaged.");
  stream.Finish(result);
  return std::move(sink.text);
}

std::string Armour(std::string_view bytes, const char* type, std::string_view version) {
  TextSource source(bytes);
  TextSink sink;
  const Stream stream(source, sink);
  stream.Finish(rnp_enarmor(stream.input(), stream.output(), type));
  InsertVersion(sink.text, version);
  return std::move(sink.text);
}

void InsertVersion(std::string& armoured, std::string_view version, std::size_t block_start) {
  if (version.empty()) return;
  const auto end_of_line = armoured.find('\n', block_start);
  armoured.insert(end_of_line + 1, "Version: " + std::string(version) + "\r\n");
}

}  // namespace corvessa::engine
