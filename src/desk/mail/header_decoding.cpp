#include <algorithm>
#include <utility>

#include "base/text.h"
#include "desk/mail/body_text.h"
#include "desk/mail/gmime_handle.h"
#include "desk/mail/header_fields.h"
#include "desk/mail/mail.h"

namespace corvessa::desk::mail {

namespace {

struct Base64Word {
  std::string_view charset;
  std::string_view payload;
  std::size_t length;
};

std::optional<Base64Word> FindBase64Word(std::string_view text) {
  if (!text.starts_with("=?")) return std::nullopt;
  const auto charset_end = text.find('?', 2);
  if (charset_end == std::string_view::npos || charset_end + 2 >= text.size()) return std::nullopt;
  if (g_ascii_toupper(text[charset_end + 1]) != 'B' || text[charset_end + 2] != '?') {
    return std::nullopt;
  }
  const auto payload = charset_end + 3;
  const auto payload_end = text.find_first_of("? \t", payload);
  if (payload_end == std::string_view::npos || !text.substr(payload_end).starts_with("?=")) {
    return std::nullopt;
  }
  return Base64Word{text.substr(2, charset_end - 2), text.substr(payload, payload_end - payload),
                    payload_end + 2};
}

std::string DecodeBase64(std::string_view payload) {
  gsize size = 0;
  const GText bytes(reinterpret_cast<char*>(g_base64_decode(std::string(payload).c_str(), &size)));
  return {bytes.get(), size};
}

std::string EncodeBase64(const std::string& bytes) {
  return GText(g_base64_encode(reinterpret_cast<const guchar*>(bytes.data()), bytes.size())).get();
}

/// Joins the word at the start of the text with those that continue it, and removes them from
/// `text`.
std::string TakeJoinedWord(std::string_view& text, const Base64Word& first) {
  const auto alone = text.substr(0, first.length);
  text.remove_prefix(first.length);
  std::string bytes;
  for (;;) {
    const auto next_at = text.find_first_not_of(" \t");
    if (next_at == 0 || next_at == std::string_view::npos) break;
    const auto next = FindBase64Word(text.substr(next_at));
    if (!next || !SameName(next->charset, first.charset)) break;
    if (bytes.empty()) bytes = DecodeBase64(first.payload);
    bytes += DecodeBase64(next->payload);
    text.remove_prefix(next_at + next->length);
  }
  if (bytes.empty()) return std::string(alone);
  return "=?" + std::string(first.charset) + "?B?" + EncodeBase64(bytes) + "?=";
}

void AppendMailboxes(InternetAddressList* list, std::vector<Mailbox>& mailboxes) {
  for (int i = 0; i < internet_address_list_length(list); ++i) {
    auto* const address = internet_address_list_get_address(list, i);
    if (INTERNET_ADDRESS_IS_GROUP(address)) {
      AppendMailboxes(internet_address_group_get_members(INTERNET_ADDRESS_GROUP(address)),
                      mailboxes);
      continue;
    }
    const char* const name = internet_address_get_name(address);
    const char* const mailbox =
        internet_address_mailbox_get_idn_addr(INTERNET_ADDRESS_MAILBOX(address));
    mailboxes.push_back({OneLine(name ? name : ""), OneLine(mailbox ? mailbox : "")});
  }
}

void NoteAddressWarning(gint64 /*offset*/, GMimeParserWarning warning, const gchar* /*item*/,
                        gpointer understood) {
  if (warning == GMIME_WARN_INVALID_ADDRESS_LIST) *static_cast<bool*>(understood) = false;
}

/// Adds the mailboxes of a well-formed list. False, with nothing added, for any other text.
bool ParseMailboxes(const std::string& text, std::vector<Mailbox>& mailboxes) {
  bool understood = true;
  const auto options = ParserOptionsThatWarn(NoteAddressWarning, &understood);
  const Handle<InternetAddressList> list(internet_address_list_parse(options.get(), text.c_str()));
  if (list && understood) AppendMailboxes(list.get(), mailboxes);
  return list && understood;
}

/// Splits the text at commas and semicolons outside quotes; drops blank pieces.
std::vector<std::string> ListPieces(const std::string& text) {
  std::vector<std::string> pieces(1);
  bool is_quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '"') is_quoted = !is_quoted;
    if (!is_quoted && (text[i] == ',' || text[i] == ';')) {
      pieces.emplace_back();
      continue;
    }
    pieces.back() += text[i];
    if (is_quoted && text[i] == '\\' && i + 1 < text.size()) pieces.back() += text[++i];
  }
  std::erase_if(pieces, [](const std::string& piece) { return OneLine(piece).empty(); });
  return pieces;
}

/// A recipient must not vanish because it cannot be parsed: what looks like an address becomes one,
/// anything else a mailbox without an address.
Mailbox UnparsedMailbox(const std::string& piece) {
  auto text = DecodeText(piece);
  std::string_view address = text;
  if (address.starts_with('<') && address.ends_with('>')) {
    address = address.substr(1, address.size() - 2);
  }
  const bool is_address = address.find('@') != std::string_view::npos &&
                          address.find_first_of(" <>()\":") == std::string_view::npos;
  return is_address ? Mailbox{"", std::string(address)} : Mailbox{std::move(text), ""};
}

}  // namespace

std::string JoinEncodedWords(std::string_view raw) {
  auto line = BodyToUtf8(raw, "");
  std::erase(line, '\n');
  std::erase(line, '\r');
  std::string joined;
  std::string_view text = line;
  for (;;) {
    const auto word_at = text.find("=?");
    joined += text.substr(0, word_at);
    if (word_at == std::string_view::npos) return joined;
    text.remove_prefix(word_at);
    if (const auto word = FindBase64Word(text)) {
      joined += TakeJoinedWord(text, *word);
    } else {
      joined += text.substr(0, 2);
      text.remove_prefix(2);
    }
  }
}

std::string OneLine(std::string_view text) {
  auto line = ValidUtf8(text);
  std::replace_if(
      line.begin(), line.end(), [](char c) { return g_ascii_iscntrl(c); }, ' ');
  return std::string(Trim(line));
}

std::string DecodeText(std::string_view raw) {
  const auto joined = JoinEncodedWords(raw);
  return OneLine(GText(g_mime_utils_header_decode_text(ParserOptions(), joined.c_str())).get());
}

std::vector<Mailbox> DecodeMailboxes(std::string_view raw) {
  const auto joined = JoinEncodedWords(raw);
  std::vector<Mailbox> mailboxes;
  if (ParseMailboxes(joined, mailboxes)) return mailboxes;
  mailboxes.clear();
  for (const auto& piece : ListPieces(joined)) {
    if (!ParseMailboxes(piece, mailboxes)) mailboxes.push_back(UnparsedMailbox(piece));
  }
  return mailboxes;
}

std::vector<std::string> DecodeIdentifiers(std::string_view raw) {
  const std::unique_ptr<GMimeReferences, decltype(&g_mime_references_free)> parsed(
      g_mime_references_parse(ParserOptions(), JoinEncodedWords(raw).c_str()),
      g_mime_references_free);
  std::vector<std::string> identifiers;
  for (int i = 0; parsed && i < g_mime_references_length(parsed.get()); ++i) {
    identifiers.push_back(OneLine(g_mime_references_get_message_id(parsed.get(), i)));
  }
  return identifiers;
}

std::optional<std::time_t> DecodeDate(const std::string& raw) {
  auto* const date = g_mime_utils_header_decode_date(raw.c_str());
  if (!date) return std::nullopt;
  const auto seconds = g_date_time_to_unix(date);
  g_date_time_unref(date);
  return seconds;
}

}  // namespace corvessa::desk::mail
