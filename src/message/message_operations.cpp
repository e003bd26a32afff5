#include "message/message_operations.h"

#include <cstddef>
#include <cstdint>
#include <unordered_set>

#include "base/debug_info.h"
#include "base/guard.h"
#include "base/text.h"
#include "settings/edition.h"

namespace corvessa {
namespace {

constexpr std::string_view kMessageMarker = "-----BEGIN PGP MESSAGE-----";
constexpr std::string_view kSignedMessageMarker = "-----BEGIN PGP SIGNED MESSAGE-----";
constexpr std::string_view kMessageEnd = "-----END PGP MESSAGE-----";
constexpr std::string_view kSignatureEnd = "-----END PGP SIGNATURE-----";
constexpr std::string_view kLineEnds = "\r\n";
/// Characters of the text in which a marker must stand whole.
constexpr std::size_t kExaminedCharacters = 72;

bool BeginsWith(std::string_view text, std::string_view marker) {
  return Trim(Left(StripLeadingBlankLines(text), kExaminedCharacters)).starts_with(marker);
}

bool IsBlank(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

void RemoveLeadingBlanks(std::string_view& text) {
  const std::size_t first = text.find_first_not_of(' ');
  text.remove_prefix(first == std::string_view::npos ? text.size() : first);
}

std::int32_t TagOf(const SafeItem& item, std::string_view name) {
  /// PT_STRING8, the type half of a property tag.
  constexpr std::int32_t kString8 = 30;
  return item.Safe().GetIDsFromNames(platform::kInternetHeaders, name) | kString8;
}

}  // namespace

std::string GetSenderName(const SafeItem& item) {
  return Guarded(":GetSenderName - ", std::string(), [&] { return item.Safe().SenderName(); });
}

bool IsReceived(const SafeItem& item) {
  return !GetSenderName(item).empty();
}

bool HasBlindCopies(const SafeItem& item) {
  item.Safe().Save();
  return !item.Safe().BCC().empty();
}

platform::RecipientsPtr GetSafeRecipients(const SafeItem& item) {
  return Guarded(":GetSafeRecipients - ", platform::RecipientsPtr(), [&] {
    item.Safe().Save();
    return item.Safe().Recipients();
  });
}

bool HasDuplicateFilenames(const SafeItem& item) {
  return Guarded(":HasDuplicateFilenames - ", false, [&] {
    std::unordered_set<std::string> names;
    for (const std::string& name : item.Attachments().file_names) {
      if (!names.insert(LCase(name)).second) return true;
    }
    return false;
  });
}

bool IsOptionsBarPresent(const platform::MailItemPtr& item) {
  Debug_Info::TraceLog("Checking for encryption and signing options bar");
  bool present = false;
  const Error error = Attempt([&] { present = FindBar(*item, g_sOptionsCaption) != nullptr; });
  Debug_Info::TraceLog(error.number != 0 ? "Does not exist (2)"
                       : present         ? "Exists"
                                         : "Does not exist (1)");
  return present;
}

std::string_view StripLeadingBlankLines(std::string_view text) {
  RemoveLeadingBlanks(text);
  while (text.starts_with(kCrLf)) {
    text.remove_prefix(kCrLf.size());
    RemoveLeadingBlanks(text);
  }
  return text;
}

bool IsPGPMessage(std::string_view text) {
  return BeginsWith(text, kMessageMarker);
}

bool IsPGPSignedMessage(std::string_view text) {
  return BeginsWith(text, kSignedMessageMarker);
}

bool HoldsMoreThanArmour(std::string_view text) {
  const bool is_signed = IsPGPSignedMessage(text);
  if (!is_signed && !IsPGPMessage(text)) return false;
  const std::string_view marker = is_signed ? kSignedMessageMarker : kMessageMarker;
  const std::string_view end = is_signed ? kSignatureEnd : kMessageEnd;
  const std::string_view rest = StripLeadingBlankLines(text).substr(marker.size());
  if (!IsBlank(rest.substr(0, rest.find_first_of(kLineEnds)))) return true;
  auto at = rest.find(end);
  // A signed text may quote one: then "- " stands before it.
  while (at != std::string_view::npos && kLineEnds.find(rest[at - 1]) == std::string_view::npos) {
    at = rest.find(end, at + 1);
  }
  return at != std::string_view::npos && !IsBlank(rest.substr(at + end.size()));
}

std::string HeaderFieldName(std::string_view key) {
  return "X-Nimbra-" + Replace(key, " ", "-");
}

void SetItemField(const SafeItem& item, std::string_view name, std::string_view value) {
  item.Safe().SetFields(TagOf(item, name), value);
}

std::string GetItemField(const SafeItem& item, std::string_view name) {
  return Guarded(":GetItemField - ", std::string(),
                 [&] { return item.Safe().Fields(TagOf(item, name)); });
}

void WriteHeaderFlag(const SafeItem& item, std::string_view key, bool flag) {
  SetItemField(item, HeaderFieldName(key), flag ? "True" : "False");
}

bool ReadHeaderFlag(const SafeItem& item, std::string_view key) {
  return LCase(Trim(GetItemField(item, HeaderFieldName(key)))) == "true";
}

}  // namespace corvessa
