#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "desk/content/content.h"
#include "platform/subscription.h"

/// What the objects of the Outlook model are built from: the state that all of them share, the
/// connection that an object loses when its window closes, and lists of event sinks.
namespace corvessa::platform {
class Clipboard;
}

namespace corvessa::desk {

/// The local file that a Windows path of the add-in means. May throw Error.
using PathMapper = std::function<std::filesystem::path(std::string_view windows_path)>;

// Numbers of failed calls: the run-time ones of a wrong type and a missing member, else HRESULTs.
inline constexpr long kTypeMismatch = 13;
inline constexpr long kNotSupported = 438;
inline constexpr long kDisconnected = -2147417848;
inline constexpr long kArrayBounds = -2147352567;
inline constexpr long kMapiNotFound = -2147221233;
inline constexpr long kNoSuchFile = -2147024894;
inline constexpr long kNoDataSource = -2147467259;

[[noreturn]] void RaiseNotSupported();
/// Throws Error unless 1 <= index <= count.
void CheckIndex(std::int32_t index, std::size_t count);

/// A button as the others see it: Office delivers a click to the sinks of every button that carries
/// the same tag.
class TaggedButton {
 public:
  virtual bool HasTag(std::string_view tag) const = 0;
  virtual void RaiseClick(bool& cancel_default) = 0;

 protected:
  ~TaggedButton() = default;
};

/// What all objects of one Outlook share. It owns none of them, so that each goes with its last
/// user.
class World {
 public:
  World(std::string version, PathMapper map_path, platform::Clipboard* clipboard);

  const std::string& Version() const { return version_; }
  /// 9 for "9.0.0.2711".
  int MajorVersion() const { return major_version_; }
  /// Throws Error (76) when no mapper was given.
  std::filesystem::path MapPath(std::string_view windows_path) const;
  /// Null when the host has none.
  platform::Clipboard* Clipboard() const { return clipboard_; }
  ContentStore& Contents() { return contents_; }
  std::string NextEntryId();

  /// The tag of a named property without its type; the same name always has the same tag.
  std::int32_t TagOf(std::string_view guid, std::string_view name);
  /// The GUID and the name behind a tag of any type; null when it is not a named property's.
  const std::pair<std::string, std::string>* NameOf(std::int32_t tag) const;

  void AddButton(const std::shared_ptr<TaggedButton>& button);
  std::vector<std::shared_ptr<TaggedButton>> ButtonsTagged(std::string_view tag) const;

  /// Word is the editor of the windows that open from now on.
  bool word_mail = false;

 private:
  std::string version_;
  int major_version_;
  PathMapper map_path_;
  platform::Clipboard* clipboard_;
  ContentStore contents_;
  std::uint32_t last_entry_ = 0;
  std::vector<std::pair<std::string, std::string>> named_properties_;
  std::vector<std::weak_ptr<TaggedButton>> buttons_;
};
using WorldPtr = std::shared_ptr<World>;

/// An object that can be deleted, or lose its window, while it is still held.
class Connected {
 public:
  bool IsConnected() const { return connected_; }

 protected:
  explicit Connected(WorldPtr world) : world_(std::move(world)) {}
  ~Connected() = default;

  void Disconnect() { connected_ = false; }
  /// Begins every platform call. Throws Error after Disconnect.
  void RequireConnected() const;

  const WorldPtr world_;

 private:
  bool connected_ = true;
};

/// The sinks of one event source. From inside an event a sink may end its own or another's
/// subscription, add sinks or raise further events; an ended subscription gets no more events.
template <typename Events>
class SinkList {
 public:
  platform::Subscription Add(Events& sink) {
    std::erase_if(entries_, [](const EntryPtr& entry) { return entry->sink == nullptr; });
    const auto entry = std::make_shared<Entry>(Entry{&sink});
    entries_.push_back(entry);
    return platform::Subscription(entry.get(), [entry](void*) { entry->sink = nullptr; });
  }

  /// Calls `call(sink)` for every sink, in the order of their subscription. The caller keeps the
  /// source alive.
  template <typename Call>
  void Raise(Call&& call) const {
    const std::vector<EntryPtr> entries = entries_;
    for (const EntryPtr& entry : entries) {
      if (entry->sink) call(*entry->sink);
    }
  }

 private:
  struct Entry {
    Events* sink;
  };
  using EntryPtr = std::shared_ptr<Entry>;

  std::vector<EntryPtr> entries_;
};

}  // namespace corvessa::desk
