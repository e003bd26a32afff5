#include "base/text.h"
#include "desk/profile/pictures.h"
#include "desk/profile/system_services.h"

namespace corvessa::desk {
namespace {

/// Where the numbers of registered formats begin.
constexpr std::uint32_t kFirstRegisteredFormat = 0xC000;

}  // namespace

void MemoryClipboard::SetPicture(const platform::Picture& picture) {
  blocks_.clear();
  if (!picture.pixels.empty()) blocks_[platform::kClipboardDib] = ToDib(picture);
}

bool MemoryClipboard::Open() {
  if (open_) return false;
  return open_ = true;
}

std::uint32_t MemoryClipboard::RegisterFormat(std::string_view name) {
  const auto next = kFirstRegisteredFormat + static_cast<std::uint32_t>(formats_.size());
  return formats_.try_emplace(LCase(name), next).first->second;
}

std::optional<std::vector<std::uint8_t>> MemoryClipboard::GetData(std::uint32_t format) {
  const auto found = blocks_.find(format);
  if (!open_ || found == blocks_.end()) return std::nullopt;
  return found->second;
}

bool MemoryClipboard::SetData(std::uint32_t format, const std::vector<std::uint8_t>& block) {
  if (open_) blocks_[format] = block;
  return open_;
}

}  // namespace corvessa::desk
