#include "desk/outlook/world.h"

#include <algorithm>

#include "base/error.h"
#include "base/text.h"

namespace corvessa::desk {
namespace {

// MAPI numbers named properties from 0x8000 on, in the upper half of the tag.
constexpr std::uint32_t kFirstNamedProperty = 0x8000;

}  // namespace

void RaiseNotSupported() {
  Raise(kNotSupported, "Object doesn't support this property or method");
}

void CheckIndex(std::int32_t index, std::size_t count) {
  if (index < 1 || static_cast<std::size_t>(index) > count) {
    Raise(kArrayBounds, "Array index out of bounds.");
  }
}

World::World(std::string version, PathMapper map_path, platform::Clipboard* clipboard)
    : version_(std::move(version)),
      major_version_(static_cast<int>(LeadingNumber(version_))),
      map_path_(std::move(map_path)),
      clipboard_(clipboard) {}

std::filesystem::path World::MapPath(std::string_view windows_path) const {
  if (!map_path_) Raise(kPathNotFound);
  return map_path_(windows_path);
}

std::string World::NextEntryId() {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string id = "00000000C0DE00000000";
  ++last_entry_;
  for (int shift = 28; shift >= 0; shift -= 4) id += kDigits[(last_entry_ >> shift) & 15];
  return id;
}

std::int32_t World::TagOf(std::string_view guid, std::string_view name) {
  auto found = std::ranges::find_if(named_properties_, [&](const auto& known) {
    return known.first == guid && known.second == name;
  });
  if (found == named_properties_.end()) {
    found = named_properties_.emplace(found, guid, name);
  }
  const auto offset = static_cast<std::uint32_t>(found - named_properties_.begin());
  return static_cast<std::int32_t>((kFirstNamedProperty + offset) << 16);
}

const std::pair<std::string, std::string>* World::NameOf(std::int32_t tag) const {
  const std::uint32_t id = static_cast<std::uint32_t>(tag) >> 16;
  if (id < kFirstNamedProperty || id - kFirstNamedProperty >= named_properties_.size()) {
    return nullptr;
  }
  return &named_properties_[id - kFirstNamedProperty];
}

void World::AddButton(const std::shared_ptr<TaggedButton>& button) {
  std::erase_if(buttons_, [](const auto& known) { return known.expired(); });
  buttons_.push_back(button);
}

std::vector<std::shared_ptr<TaggedButton>> World::ButtonsTagged(std::string_view tag) const {
  std::vector<std::shared_ptr<TaggedButton>> tagged;
  for (const auto& known : buttons_) {
    if (auto button = known.lock(); button && button->HasTag(tag)) {
      tagged.push_back(std::move(button));
    }
  }
  return tagged;
}

void Connected::RequireConnected() const {
  if (connected_) return;
  Raise(kDisconnected, "The object invoked has disconnected from its clients.");
}

}  // namespace corvessa::desk
