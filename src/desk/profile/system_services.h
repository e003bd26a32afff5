#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/pictures.h"
#include "platform/system.h"

/// The desk's small system services.
namespace corvessa::desk {

/// A time in the user's time zone and in the date and time format of the user's locale.
std::string DateTimeText(std::time_t time);

/// The same of the date alone.
std::string DateText(std::time_t time);

/// The date, and the time to the minute.
std::string ShortDateTimeText(std::time_t time);

class SystemClock final : public platform::Clock {
 public:
  std::string DateTimeText() override;
  void Randomize() override;
  double Random() override;

 private:
  std::mt19937_64 generator_;
};

/// Fetches pages with libcurl. Follows redirections to http and https only. An error status counts
/// as a failed fetch.
class CurlInet final : public platform::Inet {
 public:
  std::string OpenURL(std::string_view url) override;

  /// A longer page is cut.
  static constexpr std::size_t kMaximumBytes = std::size_t{1} << 20;
};

/// Opens pages with the desktop's opener, which outlives the program. Throws Error 5 for anything
/// but an http or https address without control characters, and Error 53 if the opener cannot be
/// started.
class SystemShell final : public platform::Shell {
 public:
  explicit SystemShell(std::string opener = "xdg-open") : opener_(std::move(opener)) {}
  void OpenPage(std::string_view url) override;

 private:
  std::string opener_;
};

/// A clipboard within the process. A picture with known pixels can be read back as a
/// device-independent bitmap.
class MemoryClipboard final : public platform::Clipboard {
 public:
  void SetPicture(const platform::Picture& picture) override;
  bool Open() override;
  void Close() override { open_ = false; }
  std::uint32_t RegisterFormat(std::string_view name) override;
  std::optional<std::vector<std::uint8_t>> GetData(std::uint32_t format) override;
  /// False while the clipboard is not open.
  bool SetData(std::uint32_t format, const std::vector<std::uint8_t>& block) override;

 private:
  bool open_ = false;
  std::map<std::string, std::uint32_t> formats_;
  std::map<std::uint32_t, std::vector<std::uint8_t>> blocks_;
};

}  // namespace corvessa::desk
