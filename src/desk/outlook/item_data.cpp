#include "desk/outlook/item_data.h"

#include "base/text.h"
#include "platform/redemption.h"

namespace corvessa::desk {
namespace {

PropertyName Folded(const PropertyName& property) {
  const auto& [guid, name] = property;
  return {guid, guid == platform::kInternetHeaders ? LCase(name) : name};
}

}  // namespace

bool PropertyOrder::operator()(const PropertyName& one, const PropertyName& other) const {
  return Folded(one) < Folded(other);
}

platform::SharedText EmptyText() {
  static const auto empty = std::make_shared<const std::string>();
  return empty;
}

std::string TypeNameOf(std::int32_t item_class) {
  switch (item_class) {
    case platform::kMailItemClass:
      return std::string(platform::kMailItemType);
    case kAppointmentClass:
      return "AppointmentItem";
    case kContactClass:
      return "ContactItem";
    case 42:
      return "JournalItem";
    case kNoteClass:
      return "NoteItem";
    case 45:
      return "PostItem";
    case 46:
      return "ReportItem";
    case kTaskClass:
      return "TaskItem";
    case 49:
      return "TaskRequestItem";
    case kMeetingRequestClass:
      return "MeetingItem";
    case 69:
      return "DistListItem";
    default:
      return "Item";
  }
}

std::vector<std::pair<std::string, std::string>> HeaderLines(const ItemData& data) {
  std::vector<std::pair<std::string, std::string>> lines;
  for (const auto& [key, value] : data.properties) {
    if (key.first == platform::kInternetHeaders) lines.emplace_back(key.second, value);
  }
  return lines;
}

std::string ShownName(std::string_view name, std::string_view address) {
  return std::string(name.empty() ? address : name);
}

std::string NamesOf(const ItemData& data, RecipientKind kind) {
  std::string names;
  for (const auto& recipient : data.recipients) {
    if (recipient.kind != kind) continue;
    if (!names.empty()) names += "; ";
    names += ShownName(recipient.name, recipient.address);
  }
  return names;
}

}  // namespace corvessa::desk
