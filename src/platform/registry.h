#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace corvessa::platform {

/// Win32 statuses of registry calls.
using RegistryStatus = std::int32_t;
inline constexpr RegistryStatus kRegistrySuccess = 0;
inline constexpr RegistryStatus kRegistryFileNotFound = 2;
inline constexpr RegistryStatus kRegistryAccessDenied = 5;
inline constexpr RegistryStatus kRegistryMoreData = 234;
inline constexpr RegistryStatus kRegistryNoMoreItems = 259;

class RegistryKey;
using RegistryKeyPtr = std::unique_ptr<RegistryKey>;

/// An open registry key; closes itself. Nothing here throws for a missing key or value: failures
/// are statuses. Key and value names are compared without regard to case, as the registry does, and
/// keep the case they were made with.
class RegistryKey {
 public:
  virtual ~RegistryKey() = default;
  /// Opens a key below this one, creating what is missing; `key` stays null on failure.
  virtual RegistryStatus Create(std::string_view path, RegistryKeyPtr& key) = 0;
  virtual RegistryStatus Open(std::string_view path, RegistryKeyPtr& key) = 0;
  /// The first four bytes of a value whatever its type, little-endian, zero-filled; 0 when it is
  /// missing or longer than four bytes.
  virtual std::int32_t ReadNumber(std::string_view name) = 0;
  /// A string value up to its first NUL; empty when it is missing or does not fit a buffer of that
  /// many bytes with its final NUL.
  virtual std::string ReadString(std::string_view name, std::size_t buffer_size) = 0;
  /// Writes a REG_DWORD.
  virtual RegistryStatus WriteNumber(std::string_view name, std::int32_t value) = 0;
  /// The name of a subkey by index, from 0; 259 past the last.
  virtual RegistryStatus EnumerateKey(std::uint32_t index, std::string& name) = 0;
  /// Deletes a key below this one; fails while that has subkeys.
  virtual RegistryStatus DeleteKey(std::string_view path) = 0;
};

class Registry {
 public:
  virtual ~Registry() = default;
  /// HKEY_CURRENT_USER and HKEY_LOCAL_MACHINE; they live as long as the registry.
  virtual RegistryKey& CurrentUser() = 0;
  virtual RegistryKey& LocalMachine() = 0;
};

}  // namespace corvessa::platform
