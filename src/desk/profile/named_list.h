#pragma once

#include <cstddef>
#include <iterator>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "base/text.h"

namespace corvessa::desk {

/// Elements in the order of their addition, found by name without regard to case. Every operation,
/// and walking by a rising index, takes constant time, so that a registry of many accounts stays
/// linear.
template <typename Element>
class NamedList {
 public:
  NamedList() = default;
  NamedList(const NamedList&) = delete;
  NamedList& operator=(const NamedList&) = delete;

  /// Null if there is none. Stays valid until the element is removed.
  Element* Find(std::string_view name) {
    const auto found = places_.find(LCase(name));
    return found == places_.end() ? nullptr : &*found->second;
  }

  /// The element of that name; if there is none, one made from `arguments`.
  template <typename... Arguments>
  Element& FindOrAdd(std::string_view name, Arguments&&... arguments) {
    const auto [place, is_new] = places_.try_emplace(LCase(name), elements_.end());
    if (is_new) {
      elements_.emplace_back(std::forward<Arguments>(arguments)...);
      place->second = std::prev(elements_.end());
    }
    return *place->second;
  }

  bool Remove(std::string_view name) {
    const auto found = places_.find(LCase(name));
    if (found == places_.end()) return false;
    elements_.erase(found->second);
    places_.erase(found);
    cursor_index_ = 0;
    cursor_ = elements_.begin();
    return true;
  }

  /// Null past the last.
  Element* At(std::size_t index) {
    if (index >= elements_.size()) return nullptr;
    if (index < cursor_index_ || cursor_ == elements_.end()) {
      cursor_index_ = 0;
      cursor_ = elements_.begin();
    }
    for (; cursor_index_ < index; ++cursor_index_) ++cursor_;
    return &*cursor_;
  }

  bool Empty() const { return elements_.empty(); }
  auto begin() const { return elements_.begin(); }
  auto end() const { return elements_.end(); }

 private:
  std::list<Element> elements_;
  std::unordered_map<std::string, typename std::list<Element>::iterator> places_;
  std::size_t cursor_index_ = 0;
  typename std::list<Element>::iterator cursor_ = elements_.end();
};

}  // namespace corvessa::desk
