#include "desk/profile/registry_tree.h"

#include "base/text.h"

namespace corvessa::desk {
namespace {

constexpr std::size_t kMaximumNameLength = 255;

/// Takes the first name off a path; empty at its end. Empty names ("a\\b") are skipped.
std::string_view TakeName(std::string_view& path) {
  while (path.starts_with('\\')) path.remove_prefix(1);
  const std::string_view name = path.substr(0, path.find('\\'));
  path.remove_prefix(name.size());
  return name;
}

void MarkDeleted(RegistryNode& node) {
  node.deleted = true;
  for (const RegistryNodePtr& child : node.keys) MarkDeleted(*child);
}

}  // namespace

std::string NumberToBytes(std::uint32_t number) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) {
    bytes.push_back(static_cast<char>(number >> shift & 0xFF));
  }
  return bytes;
}

std::uint32_t BytesToNumber(std::string_view bytes) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    number |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
  }
  return number;
}

bool IsRegistryName(std::string_view name) {
  return Length(name) <= kMaximumNameLength && !HoldsControlCharacter(name);
}

bool IsRegistryPath(std::string_view path, std::size_t depth) {
  for (auto name = TakeName(path); !name.empty(); name = TakeName(path)) {
    if (!IsRegistryName(name) || ++depth > kMaximumRegistryDepth) return false;
  }
  return true;
}

RegistryNodePtr FindKey(const RegistryNodePtr& from, std::string_view path) {
  RegistryNodePtr at = from;
  for (auto name = TakeName(path); !name.empty(); name = TakeName(path)) {
    const RegistryNodePtr* next = at->keys.Find(name);
    if (!next) return nullptr;
    // Not assigned in place: the node that owns `next` may go with `at`.
    at = RegistryNodePtr(*next);
  }
  return at;
}

RegistryNodePtr FindOrAddKey(const RegistryNodePtr& from, std::string_view path, bool& added) {
  RegistryNodePtr at = from;
  for (auto name = TakeName(path); !name.empty(); name = TakeName(path)) {
    RegistryNodePtr& next = at->keys.FindOrAdd(name);
    if (!next) {
      next = std::make_shared<RegistryNode>(name, at->depth + 1);
      added = true;
    }
    at = RegistryNodePtr(next);
  }
  return at;
}

bool RemoveKey(const RegistryNodePtr& from, std::string_view path) {
  while (path.ends_with('\\')) path.remove_suffix(1);
  const std::size_t split = path.rfind('\\');
  const bool is_direct = split == std::string_view::npos;
  const RegistryNodePtr parent = is_direct ? from : FindKey(from, path.substr(0, split));
  if (!parent) return false;
  const std::string_view name = is_direct ? path : path.substr(split + 1);
  RegistryNodePtr* const found = parent->keys.Find(name);
  if (!found) return false;
  MarkDeleted(**found);
  return parent->keys.Remove(name);
}

}  // namespace corvessa::desk
