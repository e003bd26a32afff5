#pragma once

#include "platform/pictures.h"

namespace corvessa::windows {

/// The clipboard, whose content before is the user's and is not put back.
class WindowsClipboard final : public platform::Clipboard {
 public:
  void SetPicture(const platform::Picture& picture) override;
  bool Open() override;
  void Close() override;
  std::uint32_t RegisterFormat(std::string_view name) override;
  std::optional<std::vector<std::uint8_t>> GetData(std::uint32_t format) override;
  bool SetData(std::uint32_t format, const std::vector<std::uint8_t>& block) override;
};

}  // namespace corvessa::windows
