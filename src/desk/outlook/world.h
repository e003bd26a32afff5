#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvessa::platform {
class Clipboard;
}

namespace corvessa::desk {

class Button;
class ContentFolder;

/// The local file that a Windows path of the add-in means. May throw Error.
using PathMapper = std::function<std::filesystem::path(std::string_view windows_path)>;
/// Sees every call that comes in through the platform interfaces, such as "MailItem.SetBody",
/// before it does anything; an Error that it throws is the call's failure.
using CallHook = std::function<void(std::string_view call)>;

// Numbers of failed calls: the run-time ones of a wrong type and a missing member, else HRESULTs.
inline constexpr long kTypeMismatch = 13;
inline constexpr long kNotSupported = 438;
inline constexpr long kDisconnected = -2147417848;
inline constexpr long kArrayBounds = -2147352567;
inline constexpr long kMapiNotFound = -2147221233;
inline constexpr long kNoSuchFile = -2147024894;
inline constexpr long kNoDataSource = -2147467259;

[[noreturn]] void RaiseNotSupported();
/// For objects whose window is closed or that were deleted.
[[noreturn]] void RaiseDisconnected();
/// Throws Error unless 1 <= index <= count.
void CheckIndex(std::int32_t index, std::size_t count);

/// What all objects of one Outlook share. It holds none of them, so that they go when their last
/// user lets go.
class World {
 public:
  World(std::string version, PathMapper map_path, platform::Clipboard* clipboard);

  void Called(std::string_view call) const {
    if (!on_call) return;
    // The hook may replace itself.
    const CallHook hook = on_call;
    hook(call);
  }
  const std::string& Version() const { return version_; }
  /// 9 for "9.0.0.2711".
  int MajorVersion() const { return major_version_; }
  /// Throws Error (76) when no mapper was given.
  std::filesystem::path MapPath(std::string_view windows_path) const;
  /// Null when the host has none.
  platform::Clipboard* Clipboard() const { return clipboard_; }
  ContentFolder& Contents() { return *contents_; }
  std::string NextEntryId();

  /// The tag of a named property without its type; the same name always has the same tag.
  std::int32_t TagOf(std::string_view guid, std::string_view name);
  /// The GUID and the name behind a tag whatever its type; null when it is no named one.
  const std::pair<std::string, std::string>* NameOf(std::int32_t tag) const;

  void Remember(const std::shared_ptr<Button>& button);
  std::vector<std::shared_ptr<Button>> ButtonsTagged(std::string_view tag) const;

  CallHook on_call;
  /// Word is the editor of the windows that open from now on.
  bool word_mail = false;

 private:
  std::string version_;
  int major_version_;
  PathMapper map_path_;
  platform::Clipboard* clipboard_;
  std::shared_ptr<ContentFolder> contents_;
  std::uint32_t last_entry_ = 0;
  std::vector<std::pair<std::string, std::string>> named_properties_;
  std::vector<std::weak_ptr<Button>> buttons_;
};
using WorldPtr = std::shared_ptr<World>;

}  // namespace corvessa::desk
