#include "message/openpgp_parts.h"

#include <algorithm>
#include <array>

#include "base/error.h"
#include "base/guard.h"
#include "base/text.h"
#include "crypto/stored_files.h"
#include "crypto/temp_files.h"
#include "platform/files.h"
#include "platform/host.h"

namespace corvessa {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kMessageMarker = "-----BEGIN PGP MESSAGE-----";
constexpr std::string_view kSignatureMarker = "-----BEGIN PGP SIGNATURE-----";
/// Attachments that are looked into, so that a mail with hundreds costs no more.
constexpr int kMaximumExamined = 8;

enum class Kind { kOther, kMessage, kSignature, kVersion };

bool HasExtension(std::string_view lower_name, std::initializer_list<std::string_view> extensions) {
  for (const std::string_view extension : extensions) {
    if (lower_name.ends_with(extension)) return true;
  }
  return false;
}

/// What Outlook and the desk call a part without a name: "ATT00001.txt".
bool IsNameless(std::string_view lower_name) {
  return lower_name.starts_with("att0");
}

/// Whether a part of PGP/MIME may have that name.
bool MayBelongToMime(std::string_view lower_name) {
  return IsNameless(lower_name) || lower_name.find('.') == std::string_view::npos ||
         HasExtension(lower_name, {".asc", ".pgp", ".gpg", ".dat"});
}

bool IsSmime(std::string_view lower_name) {
  return HasExtension(lower_name, {".p7m", ".p7s", ".p7z"});
}

std::string ContentOf(platform::Attachment& attachment) {
  platform::Files& files = platform::Host().files;
  const std::string folder = CreatePrivateFolder();
  const std::string path = folder + "part";
  std::string content;
  const Error error = Attempt([&] {
    attachment.SaveAsFile(path);
    content = files.Read(path);
  });
  DeleteOrQueue(path);
  RemoveFolderIfEmpty(folder);
  if (error.number != 0) throw Error(error);
  return content;
}

Kind KindOf(std::string_view content) {
  constexpr std::size_t kLongestVersion = 200;
  const std::string_view text = Trim(content, kBlanks);
  if (text.starts_with(kMessageMarker)) return Kind::kMessage;
  if (text.starts_with(kSignatureMarker)) return Kind::kSignature;
  if (text.size() > kLongestVersion) return Kind::kOther;
  const std::string lower = LCase(text);
  const bool is_version =
      lower.starts_with("version:") && Trim(std::string_view(lower).substr(8), kBlanks) == "1";
  return is_version ? Kind::kVersion : Kind::kOther;
}

Kind KindOf(platform::Attachment& attachment) {
  return Guarded("MailItemNode::FindOpenPgpParts - ", Kind::kOther,
                 [&] { return KindOf(ContentOf(attachment)); });
}

}  // namespace

OpenPgpParts FindOpenPgpParts(platform::MailItem& item, std::string_view body) {
  OpenPgpParts parts;
  const auto list = item.Attachments();
  const std::int32_t count = list->Count();
  std::vector<std::size_t> messages;
  std::vector<std::string> signatures;
  int examined = 0;
  for (std::int32_t i = 1; i <= count; ++i) {
    const auto attachment = list->Item(i);
    parts.names.push_back(attachment->FileName());
    const std::string name = LCase(parts.names.back());
    const std::size_t place = parts.names.size() - 1;
    if (IsSmime(name)) {
      parts.not_read.push_back({parts.names.back(), "S/MIME is not supported, only OpenPGP."});
    }
    if (!MayBelongToMime(name) || ++examined > kMaximumExamined) continue;
    const Kind kind = KindOf(*attachment);
    if (kind == Kind::kMessage) messages.push_back(place);
    if (kind == Kind::kVersion) parts.version = place;
    if (kind == Kind::kSignature) signatures.push_back(name);
  }
  // "report.pdf.asc" beside "report.pdf" is the signature of that file.
  parts.has_signature = std::ranges::any_of(signatures, [&](const std::string& signature) {
    return std::ranges::none_of(
        parts.names, [&](const std::string& name) { return signature == LCase(name) + ".asc"; });
  });
  if (messages.empty()) return parts;
  const bool has_text = !Trim(body, kBlanks).empty();
  const bool is_text_part = IsNameless(LCase(parts.names[messages.front()])) &&
                            HasExtension(LCase(parts.names[messages.front()]), {".txt"});
  if (messages.size() == 1 && (!has_text || parts.version || is_text_part)) {
    parts.message = messages.front();
    return parts;
  }
  for (const std::size_t place : messages) {
    parts.not_read.push_back(
        {parts.names[place], messages.size() > 1
                                 ? "The mail holds several encrypted parts. Save and decrypt them "
                                   "one by one."
                                 : "An encrypted file beside text that is not protected is left as "
                                   "it is."});
  }
  return parts;
}

std::optional<ProtectedBlock> FindLaterBlock(std::string_view text) {
  struct Form {
    std::string_view begin;
    std::string_view end;
  };
  static constexpr std::array<Form, 2> kForms = {
      {{"\n-----BEGIN PGP MESSAGE-----", "\n-----END PGP MESSAGE-----"},
       {"\n-----BEGIN PGP SIGNED MESSAGE-----", "\n-----END PGP SIGNATURE-----"}}};
  std::optional<ProtectedBlock> first;
  for (const Form& form : kForms) {
    const std::size_t begin = text.find(form.begin);
    if (begin == std::string_view::npos || (first && begin + 1 > first->before.size())) continue;
    const std::size_t end = text.find(form.end, begin + form.begin.size());
    if (end == std::string_view::npos) continue;
    std::size_t rest = text.find('\n', end + form.end.size());
    rest = rest == std::string_view::npos ? text.size() : rest + 1;
    first = {text.substr(0, begin + 1), text.substr(begin + 1, rest - begin - 1),
             text.substr(rest)};
  }
  return first;
}

std::string MarkedAsUnprotected(std::string_view text) {
  constexpr std::string_view kHead = "| [Not protected:]\r\n";
  if (Trim(text, kBlanks).empty()) return {};
  std::string marked(kHead);
  for (const std::string& line : Split(WithCrLf(Trim(text, "\r\n")), kCrLf))
    marked += "| " + line + "\r\n";
  return marked;
}

}  // namespace corvessa
