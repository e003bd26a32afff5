#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "desk/mail/parts.h"

namespace corvessa::desk::mail {

namespace {

constexpr std::size_t kBytesOfLine = 57;  ///< 76 characters
constexpr std::size_t kBytesAtOnce = 1000 * kBytesOfLine;

/// The digits of three bytes.
char* WriteDigits(unsigned bits, char* out) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (const int shift : {18, 12, 6, 0}) *out++ = kDigits[bits >> shift & 63];
  return out;
}

void AppendLine(std::string_view bytes, std::string& text) {
  std::array<char, kBytesOfLine / 3 * 4 + 1> line;
  char* out = line.data();
  const auto byte = [&](std::size_t i) { return unsigned{static_cast<unsigned char>(bytes[i])}; };
  std::size_t i = 0;
  for (; i + 3 <= bytes.size(); i += 3) {
    out = WriteDigits(byte(i) << 16 | byte(i + 1) << 8 | byte(i + 2), out);
  }
  if (i < bytes.size()) {
    const bool has_two = i + 2 == bytes.size();
    out = WriteDigits(byte(i) << 16 | (has_two ? byte(i + 1) << 8 : 0), out);
    out[-1] = '=';
    if (!has_two) out[-2] = '=';
  }
  *out++ = '\n';
  text.append(line.data(), static_cast<std::size_t>(out - line.data()));
}

class Base64Writer final : public ContentReader {
 public:
  explicit Base64Writer(std::unique_ptr<ContentReader> bytes) : bytes_(std::move(bytes)) {}

  std::size_t Read(char* buffer, std::size_t size) override {
    if (given_ == text_.size()) EncodeNext();
    const std::size_t count = text_.copy(buffer, size, given_);
    given_ += count;
    return count;
  }

 private:
  void EncodeNext() {
    text_.clear();
    given_ = 0;
    const std::string bytes = ReadWholeLines();
    for (std::string_view rest = bytes, line; !rest.empty(); rest.remove_prefix(line.size())) {
      line = rest.substr(0, kBytesOfLine);
      AppendLine(line, text_);
    }
    // A mail's attachments are all open at once.
    if (bytes.empty()) text_.shrink_to_fit();
  }

  /// Only the last one is shorter.
  std::string ReadWholeLines() {
    std::string bytes(kBytesAtOnce, '\0');
    std::size_t size = 0;
    while (size < bytes.size()) {
      const std::size_t got = bytes_->Read(bytes.data() + size, bytes.size() - size);
      if (got == 0) break;
      size += got;
    }
    bytes.resize(size);
    return bytes;
  }

  std::unique_ptr<ContentReader> bytes_;
  std::string text_;
  std::size_t given_ = 0;
};

class InBase64 final : public Content {
 public:
  explicit InBase64(ContentPtr bytes) : bytes_(std::move(bytes)) {}
  std::unique_ptr<ContentReader> Open() const override {
    return std::make_unique<Base64Writer>(bytes_->Open());
  }

 private:
  ContentPtr bytes_;
};

}  // namespace

ContentPtr Base64Content(ContentPtr content) {
  return content ? std::make_shared<InBase64>(std::move(content)) : nullptr;
}

}  // namespace corvessa::desk::mail
