#include "windows/system/registry.h"

#include <algorithm>
#include <array>
#include <optional>
#include <windows.h>

#include "win32/utf16.h"

namespace corvessa::windows {
namespace {

using platform::RegistryKeyPtr;
using platform::RegistryStatus;

/// The longest name of a key, with its NUL.
constexpr DWORD kLongestName = 256;
constexpr RegistryStatus kInvalidName = ERROR_INVALID_PARAMETER;

class WindowsKey final : public platform::RegistryKey {
 public:
  explicit WindowsKey(HKEY key) : key_(key) {}
  /// Closing one of the two roots does nothing.
  ~WindowsKey() override { RegCloseKey(key_); }
  WindowsKey(const WindowsKey&) = delete;
  WindowsKey& operator=(const WindowsKey&) = delete;

  RegistryStatus Create(std::string_view path, RegistryKeyPtr& key) override {
    const auto wide = win32::Utf16(path);
    HKEY opened = nullptr;
    if (!wide) return kInvalidName;
    const LSTATUS status = RegCreateKeyExW(key_, wide->c_str(), 0, nullptr, 0, KEY_READ | KEY_WRITE,
                                           nullptr, &opened, nullptr);
    return Give(status, opened, key);
  }
  /// Who may not write may still read, such as the values of this machine.
  RegistryStatus Open(std::string_view path, RegistryKeyPtr& key) override {
    const auto wide = win32::Utf16(path);
    HKEY opened = nullptr;
    if (!wide) return kInvalidName;
    LSTATUS status = RegOpenKeyExW(key_, wide->c_str(), 0, KEY_READ | KEY_WRITE, &opened);
    if (status == ERROR_ACCESS_DENIED) {
      status = RegOpenKeyExW(key_, wide->c_str(), 0, KEY_READ, &opened);
    }
    return Give(status, opened, key);
  }
  std::int32_t ReadNumber(std::string_view name) override {
    std::uint32_t number = 0;
    DWORD size = sizeof number;
    const auto wide = win32::Utf16(name);
    const bool is_read = wide && RegQueryValueExW(key_, wide->c_str(), nullptr, nullptr,
                                                  reinterpret_cast<BYTE*>(&number), &size) == 0;
    return is_read ? static_cast<std::int32_t>(number) : 0;
  }
  std::string ReadString(std::string_view name, std::size_t buffer_size) override {
    const auto wide = win32::Utf16(name);
    const auto value = wide ? Read(*wide) : std::nullopt;
    if (!value) return {};
    std::string text = win32::ShownUtf8({value->data(), value->find(L'\0')});
    return text.size() < buffer_size ? text : std::string();
  }
  RegistryStatus WriteNumber(std::string_view name, std::int32_t value) override {
    const auto wide = win32::Utf16(name);
    if (!wide) return kInvalidName;
    return RegSetValueExW(key_, wide->c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value),
                          sizeof value);
  }
  RegistryStatus EnumerateKey(std::uint32_t index, std::string& name) override {
    std::array<wchar_t, kLongestName> buffer;
    DWORD size = kLongestName;
    const LSTATUS status =
        RegEnumKeyExW(key_, index, buffer.data(), &size, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_SUCCESS) name = win32::ShownUtf8({buffer.data(), size});
    return status;
  }
  RegistryStatus DeleteKey(std::string_view path) override {
    const auto wide = win32::Utf16(path);
    return wide ? RegDeleteKeyW(key_, wide->c_str()) : kInvalidName;
  }

 private:
  static RegistryStatus Give(LSTATUS status, HKEY opened, RegistryKeyPtr& key) {
    if (status == ERROR_SUCCESS) {
      key = std::make_unique<WindowsKey>(opened);
    } else {
      key = nullptr;
    }
    return status;
  }

  /// A string value, with a NUL at its end; nothing for values of other types.
  std::optional<std::wstring> Read(const std::wstring& name) const {
    DWORD type = 0;
    DWORD size = 0;
    if (RegQueryValueExW(key_, name.c_str(), nullptr, &type, nullptr, &size) != 0) return {};
    if (type != REG_SZ && type != REG_EXPAND_SZ) return {};
    std::wstring value(size / sizeof(wchar_t) + 1, L'\0');
    const LSTATUS status = RegQueryValueExW(key_, name.c_str(), nullptr, nullptr,
                                            reinterpret_cast<BYTE*>(value.data()), &size);
    if (status != ERROR_SUCCESS) return {};
    return value;
  }

  HKEY key_;
};

}  // namespace

WindowsRegistry::WindowsRegistry()
    : current_user_(std::make_unique<WindowsKey>(HKEY_CURRENT_USER)),
      local_machine_(std::make_unique<WindowsKey>(HKEY_LOCAL_MACHINE)) {}

}  // namespace corvessa::windows
