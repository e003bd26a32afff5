#include <cstdint>
#include <memory>
#include <optional>

#include "base/error.h"
#include "base/text.h"
#include "desk/profile/registry_tree.h"

namespace corvessa::desk {
namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::optional<std::uint32_t> HexNumber(std::string_view digits, std::size_t maximum_digits) {
  if (digits.empty() || digits.size() > maximum_digits) return std::nullopt;
  std::uint32_t number = 0;
  for (const char c : digits) {
    number <<= 4;
    if (c >= '0' && c <= '9') {
      number |= static_cast<std::uint32_t>(c - '0');
    } else if (c >= 'a' && c <= 'f') {
      number |= static_cast<std::uint32_t>(c - 'a' + 10);
    } else if (c >= 'A' && c <= 'F') {
      number |= static_cast<std::uint32_t>(c - 'A' + 10);
    } else {
      return std::nullopt;
    }
  }
  return number;
}

bool TakePrefix(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

class Parser {
 public:
  explicit Parser(std::string_view text) : rest_(text) {}

  RegistryNodePtr Parse() {
    TakePrefix(rest_, kByteOrderMark);
    if (!NextLine() || line_ != "REGEDIT4") Refuse("not a registry file: REGEDIT4 is missing");
    while (NextLine()) {
      if (line_.empty() || line_.starts_with(';')) continue;
      if (line_.starts_with('[')) {
        ReadKey();
      } else {
        ReadValue();
      }
    }
    return roots_;
  }

 private:
  [[noreturn]] void Refuse(std::string_view reason) const {
    Raise(kPathFileAccess, "line " + Decimal(line_number_) + ": " + std::string(reason));
  }

  /// Reads the next line, trimmed, into `line_`; false at the end.
  bool NextLine() {
    if (rest_.empty()) return false;
    ++line_number_;
    const std::size_t end = rest_.find_first_of("\r\n");
    line_ = Trim(rest_.substr(0, end), kBlanks);
    rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end);
    if (!TakePrefix(rest_, "\r\n")) rest_.remove_prefix(rest_.empty() ? 0 : 1);
    for (const char c : line_) {
      if (static_cast<unsigned char>(c) < ' ' && c != '\t') Refuse("control character");
    }
    return true;
  }

  void ReadKey() {
    if (!line_.ends_with(']')) Refuse("missing bracket at the end of the key");
    std::string_view path = line_.substr(1, line_.size() - 2);
    const bool is_deletion = TakePrefix(path, "-");
    if (!path.starts_with("HKEY_") || path.ends_with('\\')) Refuse("invalid key path");
    if (!IsRegistryPath(path)) Refuse("key path too long or too deep");
    key_.reset();
    if (is_deletion) {
      RemoveKey(roots_, path);
    } else {
      bool added = false;
      key_ = FindOrAddKey(roots_, path, added);
    }
  }

  void ReadValue() {
    std::string name;
    if (line_.starts_with('"')) {
      name = TakeQuoted();
      if (!IsRegistryName(name)) Refuse("invalid value name");
      if (name.empty()) Refuse("empty value name");
    } else if (!TakePrefix(line_, "@")) {
      Refuse("expected a key or a value");
    }
    if (!TakePrefix(line_ = Trim(line_, kBlanks), "=")) Refuse("missing \"=\"");
    line_ = Trim(line_, kBlanks);
    if (!key_) Refuse("value outside a key");
    if (line_ == "-") {
      key_->values.Remove(name);
      return;
    }
    RegistryValue& value = key_->values.FindOrAdd(name, RegistryValue{name, kRegistryBinary, {}});
    ReadData(value);
  }

  void ReadData(RegistryValue& value) {
    if (line_.starts_with('"')) {
      value.type = kRegistryString;
      value.data = TakeQuoted() + '\0';
      if (!line_.empty()) Refuse("unexpected characters after the text");
    } else if (TakePrefix(line_, "dword:")) {
      const auto number = HexNumber(line_, 8);
      if (!number) Refuse("dword: takes up to eight hexadecimal digits");
      value.type = kRegistryNumber;
      value.data = NumberToBytes(*number);
    } else if (TakePrefix(line_, "hex")) {
      value.type = TakeHexType();
      ReadBytes(value.data);
    } else {
      Refuse("expected a text, dword: or hex:");
    }
  }

  std::uint32_t TakeHexType() {
    if (TakePrefix(line_, ":")) return kRegistryBinary;
    const std::size_t end = line_.find("):");
    if (!TakePrefix(line_, "(") || end == std::string_view::npos) Refuse("missing \":\" after hex");
    const auto type = HexNumber(line_.substr(0, end - 1), 8);
    if (!type) Refuse("the type in hex(…): is not a hexadecimal number");
    line_.remove_prefix(end + 1);
    return *type;
  }

  /// Bytes separated by commas; a line that ends with a backslash continues on the next.
  void ReadBytes(std::string& data) {
    data.clear();
    for (;;) {
      const bool continues = line_.ends_with('\\');
      if (continues) line_ = Trim(line_.substr(0, line_.size() - 1), kBlanks);
      if (continues && !line_.empty() && !line_.ends_with(',')) Refuse("missing comma");
      AppendBytes(data, continues);
      if (!continues) return;
      if (!NextLine()) Refuse("truncated value");
    }
  }

  void AppendBytes(std::string& data, bool ends_with_comma) {
    while (!line_.empty()) {
      const std::size_t comma = line_.find(',');
      const auto byte = HexNumber(Trim(line_.substr(0, comma), kBlanks), 2);
      if (!byte) Refuse("expected bytes of two hexadecimal digits");
      data.push_back(static_cast<char>(*byte));
      if (comma == std::string_view::npos) return;
      line_.remove_prefix(comma + 1);
      if (line_.empty() && !ends_with_comma) Refuse("missing byte");
    }
  }

  std::string TakeQuoted() {
    std::string text;
    for (std::size_t i = 1; i < line_.size(); ++i) {
      if (line_[i] == '"') {
        line_.remove_prefix(i + 1);
        return text;
      }
      if (line_[i] == '\\') {
        if (i + 1 == line_.size()) break;
        ++i;
        if (line_[i] != '\\' && line_[i] != '"') Refuse("unknown escape in a text");
      }
      text.push_back(line_[i]);
    }
    Refuse("missing quotation mark at the end of the text");
  }

  std::string_view rest_;
  std::string_view line_;
  int line_number_ = 0;
  RegistryNodePtr roots_ = std::make_shared<RegistryNode>();
  /// Null before the first key and after a deleted one.
  RegistryNodePtr key_;
};

}  // namespace

RegistryNodePtr ParseRegedit4(std::string_view text) {
  return Parser(text).Parse();
}

}  // namespace corvessa::desk
