#include <algorithm>
#include <cstdint>

#include "base/text.h"
#include "desk/profile/registry_tree.h"

namespace corvessa::desk {
namespace {

/// Registry editors wrap the bytes of a value at about this column.
constexpr std::size_t kLineWidth = 77;

void AppendHex(std::string& out, std::uint32_t number, int digits) {
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
    out.push_back("0123456789abcdef"[number >> shift & 0xF]);
  }
}

/// Whether the value can be quoted: one NUL, at its end, and no control characters.
bool IsPlainString(const RegistryValue& value) {
  if (value.type != kRegistryString || !value.data.ends_with('\0')) return false;
  return std::none_of(value.data.begin(), value.data.end() - 1,
                      [](char c) { return static_cast<unsigned char>(c) < ' '; });
}

void AppendQuoted(std::string& out, std::string_view text) {
  out.push_back('"');
  for (const char c : text) {
    if (c == '\\' || c == '"') out.push_back('\\');
    out.push_back(c);
  }
  out.push_back('"');
}

void AppendBytes(std::string& out, const RegistryValue& value, std::size_t line_start) {
  out += "hex";
  if (value.type != kRegistryBinary) {
    std::string digits;
    AppendHex(digits, value.type, 8);
    const std::size_t leading = std::min(digits.find_first_not_of('0'), digits.size() - 1);
    out += "(" + digits.substr(leading) + ")";
  }
  out.push_back(':');
  for (std::size_t i = 0; i < value.data.size(); ++i) {
    AppendHex(out, static_cast<unsigned char>(value.data[i]), 2);
    if (i + 1 == value.data.size()) break;
    out.push_back(',');
    if (out.size() - line_start < kLineWidth) continue;
    out += "\\\r\n";
    line_start = out.size();
    out += "  ";
  }
}

void AppendValue(std::string& out, const RegistryValue& value) {
  const std::size_t line_start = out.size();
  if (value.name.empty()) {
    out.push_back('@');
  } else {
    AppendQuoted(out, value.name);
  }
  out.push_back('=');
  if (IsPlainString(value)) {
    AppendQuoted(out, std::string_view(value.data).substr(0, value.data.size() - 1));
  } else if (value.type == kRegistryNumber && value.data.size() == 4) {
    out += "dword:";
    AppendHex(out, BytesToNumber(value.data), 8);
  } else {
    AppendBytes(out, value, line_start);
  }
  out += kCrLf;
}

void AppendKey(std::string& out, const RegistryNode& key, const std::string& path) {
  out.append("\r\n[").append(path).append("]\r\n");
  for (const RegistryValue& value : key.values) AppendValue(out, value);
  for (const RegistryNodePtr& child : key.keys) AppendKey(out, *child, path + '\\' + child->name);
}

}  // namespace

std::string FormatRegedit4(const RegistryNode& roots) {
  std::string out = "REGEDIT4\r\n";
  for (const RegistryNodePtr& root : roots.keys) AppendKey(out, *root, root->name);
  return out;
}

}  // namespace corvessa::desk
