#include "message/header_fields.h"

#include <cstdint>

#include "base/guard.h"
#include "base/text.h"
#include "message/item_access.h"

namespace corvessa {
namespace {

/// PT_STRING8, the type half of a property tag.
constexpr std::int32_t kString8 = 30;

struct Field {
  platform::SafeMailItemPtr item;
  std::int32_t tag;
};

Field OpenField(const platform::MailItemPtr& item, std::string_view name) {
  const auto safe_item = OpenSafely(item);
  return {safe_item, safe_item->GetIDsFromNames(platform::kInternetHeaders, name) | kString8};
}

}  // namespace

std::string HeaderFieldName(std::string_view key) {
  return "X-Nimbra-" + Replace(key, " ", "-");
}

void SetItemField(const platform::MailItemPtr& item, std::string_view name,
                  std::string_view value) {
  const Field field = OpenField(item, name);
  field.item->SetFields(field.tag, value);
}

std::string GetItemField(const platform::MailItemPtr& item, std::string_view name) {
  return Guarded(":GetItemField - ", std::string(), [&] {
    const Field field = OpenField(item, name);
    return field.item->Fields(field.tag);
  });
}

void WriteHeaderFlag(const platform::MailItemPtr& item, std::string_view key, bool flag) {
  SetItemField(item, HeaderFieldName(key), flag ? "True" : "False");
}

bool ReadHeaderFlag(const platform::MailItemPtr& item, std::string_view key) {
  return LCase(Trim(GetItemField(item, HeaderFieldName(key)))) == "true";
}

}  // namespace corvessa
