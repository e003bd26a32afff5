#include "engine/verified_contents.h"

#include <algorithm>

#include "engine/armour.h"

namespace corvessa::engine {
namespace {

constexpr std::string_view kStart = "-----BEGIN PGP SIGNED MESSAGE-----\r\n";
constexpr std::string_view kHeadersEnd = "\r\n\r\n";
constexpr std::string_view kSignatureStart = "\r\n-----BEGIN PGP SIGNATURE-----";

/// Calls `add` for each line of the text with its ending.
template <typename Add>
void ForEachLine(std::string_view text, Add add) {
  while (!text.empty()) {
    const auto length = std::min(text.find('\n'), text.size() - 1) + 1;
    add(text.substr(0, length));
    text.remove_prefix(length);
  }
}

}  // namespace

void VerifiedContents::Add(std::string digest, Verdict verdict) {
  Forget(digest);
  findings_.emplace_front(std::move(digest), std::move(verdict));
  if (findings_.size() > kept_) findings_.pop_back();
}

void VerifiedContents::Forget(std::string_view start) {
  std::erase_if(findings_, [&](const auto& finding) { return finding.first.starts_with(start); });
}

const Verdict* VerifiedContents::Find(std::string_view digest) const {
  for (const auto& [known, verdict] : findings_) {
    if (known == digest) return &verdict;
  }
  return nullptr;
}

std::string WrapSigned(std::string_view text, const InnerSignatures& signatures,
                       std::string_view version) {
  std::string wrapped(kStart);
  wrapped += "Hash: " + signatures.hash;
  wrapped += kHeadersEnd;
  ForEachLine(text, [&](std::string_view line) {
    if (line.starts_with('-')) wrapped += "- ";
    wrapped += line;
  });
  wrapped += "\r\n";
  wrapped += Armour(signatures.packets, "signature", version);
  return wrapped;
}

std::string UnwrapSigned(std::string_view wrapped) {
  const auto begin = wrapped.find(kHeadersEnd) + kHeadersEnd.size();
  // The text holds no such line: a dash at the start of one is escaped.
  const auto end = wrapped.rfind(kSignatureStart);
  std::string text;
  ForEachLine(wrapped.substr(begin, end - begin), [&](std::string_view line) {
    if (line.starts_with("- ")) line.remove_prefix(2);
    text += line;
  });
  return text;
}

}  // namespace corvessa::engine
