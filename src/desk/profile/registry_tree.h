#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "desk/profile/named_list.h"

/// A registry as a tree of keys in memory, and its text format.
namespace corvessa::desk {

/// Types of a registry value.
inline constexpr std::uint32_t kRegistryString = 1;
inline constexpr std::uint32_t kRegistryBinary = 3;
inline constexpr std::uint32_t kRegistryNumber = 4;

/// A value as the registry stores it: a type and bytes. The bytes of a string end with a NUL. The
/// name of a key's default value is empty.
struct RegistryValue {
  std::string name;
  std::uint32_t type = kRegistryBinary;
  std::string data;
};

/// The bytes of a number, lowest first.
std::string NumberToBytes(std::uint32_t number);
/// The number in up to four such bytes; missing ones are 0.
std::uint32_t BytesToNumber(std::string_view bytes);

struct RegistryNode;
using RegistryNodePtr = std::shared_ptr<RegistryNode>;

/// A key. Shared, because it can stay open after its deletion.
struct RegistryNode {
  explicit RegistryNode(std::string_view key_name = {}, std::size_t key_depth = 0)
      : name(key_name), depth(key_depth) {}

  std::string name;
  /// Levels below the node that holds the roots.
  std::size_t depth;
  bool deleted = false;
  NamedList<RegistryValue> values;
  NamedList<RegistryNodePtr> keys;
};

/// The deepest nesting of registry keys.
inline constexpr std::size_t kMaximumRegistryDepth = 512;

/// Whether a key can have this path below a key of that depth: not too deep, no name over 255
/// characters, no control characters.
bool IsRegistryPath(std::string_view path, std::size_t depth = 0);
/// Whether a value can have this name.
bool IsRegistryName(std::string_view name);

/// The key at a path below `from`, which is itself at the empty path; null if there is none.
RegistryNodePtr FindKey(const RegistryNodePtr& from, std::string_view path);
/// Adds the keys that are missing on the way and sets `added` if it added any.
RegistryNodePtr FindOrAddKey(const RegistryNodePtr& from, std::string_view path, bool& added);
/// Removes a key with everything below it; false if there is none. `from` itself stays.
bool RemoveKey(const RegistryNodePtr& from, std::string_view path);

/// Reads "REGEDIT4", the text format that registry editors import and export, as UTF-8: keys in
/// brackets, strings, dword:, hex: and hex(n): with continuation lines, "@", deletions, comments,
/// any line ends. Returns a node whose keys are the roots (HKEY_CURRENT_USER and the like). A
/// string with a line break must be written as hex(1):. Throws Error 75 with the line number for
/// anything else.
RegistryNodePtr ParseRegedit4(std::string_view text);

/// The whole tree in that format, one section per key, CR LF line ends. Comments and deletions are
/// not kept.
std::string FormatRegedit4(const RegistryNode& roots);

}  // namespace corvessa::desk
