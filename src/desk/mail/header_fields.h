#pragma once

#include <string_view>

namespace corvessa::desk::mail {

/// What a header field is to a Mail: one of its members, MIME's own or any other.
enum class FieldKind {
  kFrom,
  kTo,
  kCc,
  kBcc,
  kReplyTo,
  kSubject,
  kDate,
  kMessageId,
  kInReplyTo,
  kReferences,
  kMime,
  kOther,
};

FieldKind FieldKindOf(std::string_view name);

/// Whether a field of another kind also tells who got a blind copy; the others must not see it.
bool NamesBlindCopies(std::string_view name);

/// Whether a header can hold a field of this name: printable ASCII without blank and colon.
bool IsFieldName(std::string_view name);

}  // namespace corvessa::desk::mail
