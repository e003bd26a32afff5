#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "desk/profile/named_list.h"

namespace corvessa::desk {

/// Types of a registry value.
inline constexpr std::uint32_t kRegistryString = 1;
inline constexpr std::uint32_t kRegistryBinary = 3;
inline constexpr std::uint32_t kRegistryNumber = 4;

/// A value as the registry stores it: a type and bytes, whatever the type. A string's bytes end
/// with a NUL. The name is empty for a key's default value.
struct RegistryValue {
  std::string name;
  std::uint32_t type = kRegistryBinary;
  std::string data;
};

/// The bytes of a number, the lowest first.
std::string BytesOfNumber(std::uint32_t number);
/// The number of up to four such bytes; missing ones are 0.
std::uint32_t NumberOfBytes(std::string_view bytes);

struct RegistryNode;
using RegistryNodePtr = std::shared_ptr<RegistryNode>;

/// A key. It is shared because it stays open to its users after it was deleted.
struct RegistryNode {
  explicit RegistryNode(std::string_view key_name = {}, std::size_t key_depth = 0)
      : name(key_name), depth(key_depth) {}

  std::string name;
  /// Steps from the node that holds the roots.
  std::size_t depth;
  bool deleted = false;
  NamedList<RegistryValue> values;
  NamedList<RegistryNodePtr> keys;
};

/// Registry keys nest at most so deep.
inline constexpr std::size_t kMaximumRegistryDepth = 512;

/// Whether a path below a key of that depth can be one of a key: not too deep in all, no name over
/// 255 characters, no control character.
bool IsRegistryPath(std::string_view path, std::size_t depth = 0);
/// The same for the name of a value.
bool IsRegistryName(std::string_view name);

/// The key at a path below another; the key itself for an empty path; null when there is none.
RegistryNodePtr FindKey(const RegistryNodePtr& from, std::string_view path);
/// The same, adding what is missing. `added` becomes true when something was.
RegistryNodePtr FindOrAddKey(const RegistryNodePtr& from, std::string_view path, bool& added);
/// Removes a key with all that it holds; false when there is none. The root itself stays.
bool RemoveKey(const RegistryNodePtr& from, std::string_view path);

}  // namespace corvessa::desk
