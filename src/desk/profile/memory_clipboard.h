#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/clipboard.h"

namespace corvessa::desk {

/// A clipboard of the process itself. A picture put on it can be read as a device-independent
/// bitmap when its pixels are known.
class MemoryClipboard final : public platform::Clipboard {
 public:
  void SetPicture(const platform::Picture& picture) override;
  bool Open() override;
  void Close() override { open_ = false; }
  std::uint32_t RegisterFormat(std::string_view name) override;
  std::optional<std::vector<std::uint8_t>> GetData(std::uint32_t format) override;
  /// False while it is not open.
  bool SetData(std::uint32_t format, const std::vector<std::uint8_t>& block) override;

 private:
  bool open_ = false;
  std::map<std::string, std::uint32_t> formats_;
  std::map<std::uint32_t, std::vector<std::uint8_t>> blocks_;
};

}  // namespace corvessa::desk
