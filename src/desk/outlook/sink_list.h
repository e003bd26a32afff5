#pragma once

#include <memory>
#include <vector>

#include "platform/subscription.h"

namespace corvessa::desk {

/// The sinks of one event source. A sink may end its own or another's subscription, add sinks or
/// raise further events from inside an event: whoever is unsubscribed by then is not called.
template <typename Events>
class SinkList {
 public:
  platform::Subscription Add(Events& sink) {
    std::erase_if(entries_, [](const EntryPtr& entry) { return entry->sink == nullptr; });
    const auto entry = std::make_shared<Entry>(Entry{&sink});
    entries_.push_back(entry);
    return platform::Subscription(entry.get(), [entry](void*) { entry->sink = nullptr; });
  }

  /// Calls `call(sink)` for every sink, in the order of their subscription. The source is kept
  /// alive by the caller.
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
