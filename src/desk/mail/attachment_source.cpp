#include "desk/mail/attachment_source.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <limits>
#include <system_error>
#include <utility>

#include "base/error.h"
#include "desk/mail/mail_file.h"
#include "posix/file_descriptor.h"
#include "system/errors.h"
#include "system/files.h"

namespace corvessa::desk::mail {

namespace {

// Many small attachments must not use up the process's file descriptors.
constexpr std::uintmax_t kMostBytesInMemory = 64 * 1024;

using Buffer = std::array<char, 16 * 1024>;

std::string_view NextPiece(GMimeStream& stream, Buffer& buffer) {
  errno = 0;
  const ssize_t got = g_mime_stream_read(&stream, buffer.data(), buffer.size());
  if (got < 0) system::RaiseIoError("A part of the mail", "cannot be read", posix::LastError());
  return {buffer.data(), static_cast<std::size_t>(got)};
}

bool IsBase64Digit(char c) {
  return g_ascii_isalnum(c) || c == '+' || c == '/';
}

/// Some programs leave padding out or put blocks one behind the other, each with its own. The usual
/// decoder drops what is not complete and all that stands behind padding, which is right where that
/// is other text, such as the footer of a list.
bool IsInBlocks(GMimeStream& text) {
  std::size_t count = 0;
  bool is_padded = false;
  bool goes_on = false;
  bool is_pure = true;
  ForEachPiece(text, [&](std::string_view piece) {
    for (const char c : piece) {
      is_padded = is_padded || c == '=';
      goes_on = goes_on || (is_padded && IsBase64Digit(c));
      is_pure = is_pure && (IsBase64Digit(c) || c == '=' || g_ascii_isspace(c));
      count += IsBase64Digit(c) || c == '=' ? 1 : 0;
    }
  });
  g_mime_stream_reset(&text);
  return goes_on ? is_pure : count % 4 != 0;
}

Handle<GMimeStream> DecodedBlocks(GMimeStream& text) {
  auto decoded = ScratchStream(static_cast<std::uintmax_t>(g_mime_stream_length(&text)));
  std::string digits;
  const auto end_block = [&] {
    if (digits.size() % 4 > 1) digits.append(4 - digits.size() % 4, '=');
    gsize size = 0;
    const GText bytes(reinterpret_cast<char*>(g_base64_decode(digits.c_str(), &size)));
    if (g_mime_stream_write(decoded.get(), bytes.get(), size) < 0) {
      system::RaiseIoError("A part of the mail", "cannot be decoded", posix::LastError());
    }
    digits.clear();
  };
  constexpr std::size_t kEnough = 16 * 1024;
  ForEachPiece(text, [&](std::string_view piece) {
    for (const char c : piece) {
      if (IsBase64Digit(c)) digits += c;
      if ((c == '=' && !digits.empty()) || digits.size() == kEnough) end_block();
    }
  });
  end_block();
  g_mime_stream_reset(decoded.get());
  return decoded;
}

/// The decoder finds nothing without the line that names the file.
Handle<GMimeStream> WithBeginLine(GMimeStream& text) {
  constexpr std::string_view kAnyName = "begin 644 f\n";
  constexpr std::size_t kLongestPreamble = 64 * 1024;
  const auto start = "\n" + ReadUpTo(kLongestPreamble, text);
  g_mime_stream_reset(&text);
  if (start.find("\nbegin ") != std::string::npos) return AddReference(&text);
  const Handle<GMimeStream> line(
      g_mime_stream_mem_new_with_buffer(kAnyName.data(), kAnyName.size()));
  Handle<GMimeStream> whole(g_mime_stream_cat_new());
  g_mime_stream_cat_add_source(GMIME_STREAM_CAT(whole.get()), line.get());
  g_mime_stream_cat_add_source(GMIME_STREAM_CAT(whole.get()), &text);
  return whole;
}

class Range final : public AttachmentSource {
 public:
  Range(GMimeStream* range, GMimeContentEncoding encoding, std::shared_ptr<const MailFile> file)
      : range_(AddReference(range)), encoding_(encoding), file_(std::move(file)) {}

  Handle<GMimeStream> Open() const override {
    if (file_) file_->CheckUnchanged();
    Handle<GMimeStream> encoded(
        g_mime_stream_substream(range_.get(), range_->bound_start, range_->bound_end));
    g_mime_stream_reset(encoded.get());
    if (encoding_ < GMIME_CONTENT_ENCODING_BASE64) return encoded;
    if (encoding_ == GMIME_CONTENT_ENCODING_BASE64 && IsInBlocks(*encoded)) {
      return DecodedBlocks(*encoded);
    }
    if (encoding_ == GMIME_CONTENT_ENCODING_UUENCODE) encoded = WithBeginLine(*encoded);
    Handle<GMimeStream> decoded(g_mime_stream_filter_new(encoded.get()));
    const Handle<GMimeFilter> decoder(g_mime_filter_basic_new(encoding_, FALSE));
    g_mime_stream_filter_add(GMIME_STREAM_FILTER(decoded.get()), decoder.get());
    return decoded;
  }

 private:
  Handle<GMimeStream> range_;
  GMimeContentEncoding encoding_;
  std::shared_ptr<const MailFile> file_;
};

class CrLfLines final : public AttachmentSource {
 public:
  explicit CrLfLines(std::shared_ptr<const AttachmentSource> text) : text_(std::move(text)) {}

  Handle<GMimeStream> Open() const override {
    const auto text = text_->Open();
    Handle<GMimeStream> lines(g_mime_stream_filter_new(text.get()));
    const Handle<GMimeFilter> filter(g_mime_filter_unix2dos_new(FALSE));
    g_mime_stream_filter_add(GMIME_STREAM_FILTER(lines.get()), filter.get());
    return lines;
  }

 private:
  std::shared_ptr<const AttachmentSource> text_;
};

}  // namespace

std::shared_ptr<const AttachmentSource> RangeSource(GMimeStream* range,
                                                    GMimeContentEncoding encoding,
                                                    std::shared_ptr<const MailFile> file) {
  return std::make_shared<Range>(range, encoding, std::move(file));
}

std::shared_ptr<const AttachmentSource> WithCrLf(std::shared_ptr<const AttachmentSource> text) {
  return std::make_shared<CrLfLines>(std::move(text));
}

Handle<GMimeStream> ScratchStream(std::uintmax_t expected_size) {
  ParserOptions();
  if (expected_size <= kMostBytesInMemory) return Handle<GMimeStream>(g_mime_stream_mem_new());
  const auto folder = std::filesystem::temp_directory_path();
  try {
    auto file = system::File::CreateNameless(folder);
    return Handle<GMimeStream>(g_mime_stream_fs_new(static_cast<int>(file.Release())));
  } catch (const std::system_error& error) {
    system::RaiseIoError(folder, "takes no temporary file", error.code());
  }
}

void ForEachPiece(GMimeStream& stream, const std::function<void(std::string_view piece)>& sink) {
  Buffer buffer;
  while (g_mime_stream_eos(&stream) == 0) {
    const std::string_view piece = NextPiece(stream, buffer);
    if (!piece.empty()) sink(piece);
  }
}

std::string ReadAll(GMimeStream& stream) {
  return ReadUpTo(std::numeric_limits<std::size_t>::max(), stream);
}

std::string ReadUpTo(std::size_t most, GMimeStream& stream) {
  std::string bytes;
  Buffer buffer;
  while (bytes.size() < most && g_mime_stream_eos(&stream) == 0) bytes += NextPiece(stream, buffer);
  return bytes;
}

}  // namespace corvessa::desk::mail
