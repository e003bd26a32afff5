#include "desk/mail/header_fields.h"

#include <algorithm>
#include <array>
#include <utility>

#include "desk/mail/gmime_handle.h"

namespace corvessa::desk::mail {

namespace {

constexpr std::array<std::pair<std::string_view, FieldKind>, 11> kKinds{{
    {"From", FieldKind::kFrom},
    {"To", FieldKind::kTo},
    {"Cc", FieldKind::kCc},
    {"Bcc", FieldKind::kBcc},
    {"Reply-To", FieldKind::kReplyTo},
    {"Subject", FieldKind::kSubject},
    {"Date", FieldKind::kDate},
    {"Message-ID", FieldKind::kMessageId},
    {"In-Reply-To", FieldKind::kInReplyTo},
    {"References", FieldKind::kReferences},
    {"MIME-Version", FieldKind::kMime},
}};

}  // namespace

FieldKind FieldKindOf(std::string_view name) {
  for (const auto& [known, kind] : kKinds) {
    if (SameName(name, known)) return kind;
  }
  constexpr std::string_view kContent = "Content-";
  return SameName(name.substr(0, kContent.size()), kContent) ? FieldKind::kMime : FieldKind::kOther;
}

bool NamesBlindCopies(std::string_view name) {
  return SameName(name, "Resent-Bcc") || SameName(name, "X-Bcc");
}

bool IsFieldName(std::string_view name) {
  return !name.empty() &&
         std::ranges::all_of(name, [](char c) { return c > 32 && c < 127 && c != ':'; });
}

}  // namespace corvessa::desk::mail
