#include "message/header_fields.h"

#include <cstdint>

#include "base/guard.h"
#include "base/text.h"

namespace corvessa {
namespace {

std::int32_t TagOf(const SafeItem& item, std::string_view name) {
  /// PT_STRING8, the type half of a property tag.
  constexpr std::int32_t kString8 = 30;
  return item.Safe().GetIDsFromNames(platform::kInternetHeaders, name) | kString8;
}

}  // namespace

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
