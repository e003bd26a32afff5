#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "base/error.h"
#include "desk/mail/gmime_stream.h"
#include "desk/mail/parts.h"

namespace corvessa::desk::mail {

namespace {

constexpr std::size_t kPieceSize = 64 * 1024;

/// 0 at the end only.
std::size_t ReadStream(GMimeStream& stream, char* buffer, std::size_t size) {
  ssize_t got = 0;
  while (got == 0 && g_mime_stream_eos(&stream) == 0) {
    got = g_mime_stream_read(&stream, buffer, size);
    if (got < 0) Raise(kPathFileAccess, "A part of the mail cannot be read.");
  }
  return static_cast<std::size_t>(got);
}

class StreamReader final : public ContentReader {
 public:
  explicit StreamReader(Handle<GMimeStream> stream) : stream_(std::move(stream)) {}
  std::size_t Read(char* buffer, std::size_t size) override {
    return ReadStream(*stream_, buffer, size);
  }

 private:
  Handle<GMimeStream> stream_;
};

// The values of characters that are not base64 digits.
constexpr unsigned char kOther = 64;
constexpr unsigned char kBlank = 65;
constexpr unsigned char kPadding = 66;

constexpr auto kBase64Values = [] {
  std::array<unsigned char, 256> values{};
  values.fill(kOther);
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (std::size_t i = 0; i < kDigits.size(); ++i) {
    values[static_cast<unsigned char>(kDigits[i])] = static_cast<unsigned char>(i);
  }
  for (const char c : std::string_view(" \t\r\n\f\v")) {
    values[static_cast<unsigned char>(c)] = kBlank;
  }
  values['='] = kPadding;
  return values;
}();

unsigned char Base64Value(char c) {
  return kBase64Values[static_cast<unsigned char>(c)];
}

/// Decodes base64 without padding, and several blocks that each end with padding, as some programs
/// write it; GMime's decoder drops parts of both. Other text after padding, such as the footer of a
/// mailing list, ends the content.
class Base64Reader final : public ContentReader {
 public:
  explicit Base64Reader(Handle<GMimeStream> text) : text_(std::move(text)) {}

  std::size_t Read(char* buffer, std::size_t size) override {
    while (given_ == decoded_.size() && !is_finished_) DecodePiece();
    const std::size_t count = decoded_.copy(buffer, size, given_);
    given_ += count;
    return count;
  }

 private:
  void DecodePiece() {
    decoded_.clear();
    given_ = 0;
    const std::string_view piece(piece_.data(), ReadStream(*text_, piece_.data(), piece_.size()));
    if (piece.empty()) {
      EndBlock();
      is_finished_ = true;
    }
    for (std::size_t i = 0; i < piece.size() && !is_finished_; ++i) {
      if (digits_ == 0) i += TakeWholeGroups(piece.substr(i));
      if (i == piece.size()) break;
      const unsigned char value = Base64Value(piece[i]);
      if (value < kOther) {
        TakeDigit(value);
      } else if (value == kPadding) {
        EndBlock();
        is_finished_ = !MayContinue(piece.substr(i + 1));
      } else {
        is_pure_ = is_pure_ && value == kBlank;
      }
    }
  }

  /// Decodes groups of four digits that stand together; almost all of them do.
  std::size_t TakeWholeGroups(std::string_view text) {
    std::array<char, 3 * 32> bytes;
    std::size_t taken = 0;
    std::size_t made = 0;
    for (; taken + 4 <= text.size() && made < bytes.size(); taken += 4) {
      const unsigned first = Base64Value(text[taken]);
      const unsigned second = Base64Value(text[taken + 1]);
      const unsigned third = Base64Value(text[taken + 2]);
      const unsigned fourth = Base64Value(text[taken + 3]);
      if ((first | second | third | fourth) >= kOther) break;
      bytes[made++] = static_cast<char>(first << 2 | second >> 4);
      bytes[made++] = static_cast<char>((second << 4 | third >> 2) & 0xFF);
      bytes[made++] = static_cast<char>((third << 6 | fourth) & 0xFF);
    }
    decoded_.append(bytes.data(), made);
    return taken;
  }

  void TakeDigit(unsigned char value) {
    bits_ = bits_ << 6 | value;
    if (++digits_ < 4) return;
    for (const int shift : {16, 8, 0}) decoded_ += static_cast<char>(bits_ >> shift & 0xFF);
    digits_ = 0;
  }

  /// Two digits hold one byte, three digits two.
  void EndBlock() {
    if (digits_ >= 2) decoded_ += static_cast<char>(bits_ >> (6 * digits_ - 8) & 0xFF);
    if (digits_ == 3) decoded_ += static_cast<char>(bits_ >> 2 & 0xFF);
    digits_ = 0;
  }

  /// Whether the text after the first padding belongs to the content. Looks ahead once.
  bool MayContinue(std::string_view rest_of_piece) {
    if (std::exchange(has_looked_ahead_, true)) return true;
    is_pure_ = is_pure_ && IsPure(rest_of_piece);
    const auto position = g_mime_stream_tell(text_.get());
    std::array<char, kPieceSize> ahead;
    while (is_pure_) {
      const std::size_t size = ReadStream(*text_, ahead.data(), ahead.size());
      if (size == 0) break;
      is_pure_ = IsPure({ahead.data(), size});
    }
    g_mime_stream_seek(text_.get(), position, GMIME_STREAM_SEEK_SET);
    return is_pure_;
  }

  static bool IsPure(std::string_view text) {
    for (const char c : text) {
      if (Base64Value(c) == kOther) return false;
    }
    return true;
  }

  Handle<GMimeStream> text_;
  std::array<char, kPieceSize> piece_;
  std::string decoded_;
  std::size_t given_ = 0;
  unsigned bits_ = 0;
  int digits_ = 0;
  bool is_pure_ = true;
  bool has_looked_ahead_ = false;
  bool is_finished_ = false;
};

bool HasBeginLine(std::string_view text) {
  return text.starts_with("begin ") || text.find("\nbegin ") != std::string_view::npos;
}

constexpr std::size_t kLongestPreamble = 64 * 1024;

/// GMime's decoder needs the line that names the file.
Handle<GMimeStream> WithBeginLine(Handle<GMimeStream> text) {
  constexpr std::string_view kAnyName = "begin 644 f\n";
  std::string start(kLongestPreamble, '\0');
  start.resize(ReadStream(*text, start.data(), start.size()));
  g_mime_stream_reset(text.get());
  if (HasBeginLine(start)) return text;
  const Handle<GMimeStream> line(
      g_mime_stream_mem_new_with_buffer(kAnyName.data(), kAnyName.size()));
  Handle<GMimeStream> whole(g_mime_stream_cat_new());
  g_mime_stream_cat_add_source(GMIME_STREAM_CAT(whole.get()), line.get());
  g_mime_stream_cat_add_source(GMIME_STREAM_CAT(whole.get()), text.get());
  return whole;
}

Handle<GMimeStream> Filtered(Handle<GMimeStream> stream, Handle<GMimeFilter> filter) {
  Handle<GMimeStream> filtered(g_mime_stream_filter_new(stream.get()));
  g_mime_stream_filter_add(GMIME_STREAM_FILTER(filtered.get()), filter.get());
  return filtered;
}

class Part final : public Content {
 public:
  Part(GMimeStream* range, PartEncoding encoding, std::shared_ptr<const MailFile> file)
      : range_(AddReference(range)), encoding_(encoding), file_(std::move(file)) {}

  std::unique_ptr<ContentReader> Open() const override {
    if (file_) file_->CheckUnchanged();
    Handle<GMimeStream> stream(
        g_mime_stream_substream(range_.get(), range_->bound_start, range_->bound_end));
    g_mime_stream_reset(stream.get());
    if (encoding_.transfer == GMIME_CONTENT_ENCODING_BASE64) {
      return std::make_unique<Base64Reader>(std::move(stream));
    }
    return std::make_unique<StreamReader>(Decoded(std::move(stream)));
  }

 private:
  Handle<GMimeStream> Decoded(Handle<GMimeStream> stream) const {
    const auto transfer = encoding_.transfer;
    if (transfer == GMIME_CONTENT_ENCODING_UUENCODE) stream = WithBeginLine(std::move(stream));
    if (transfer > GMIME_CONTENT_ENCODING_BINARY) {
      Handle<GMimeFilter> decoder(g_mime_filter_basic_new(transfer, FALSE));
      stream = Filtered(std::move(stream), std::move(decoder));
    }
    if (encoding_.has_native_lines) {
      Handle<GMimeFilter> line_ends(g_mime_filter_unix2dos_new(FALSE));
      stream = Filtered(std::move(stream), std::move(line_ends));
    }
    return stream;
  }

  Handle<GMimeStream> range_;
  PartEncoding encoding_;
  std::shared_ptr<const MailFile> file_;
};

/// A content as a stream, which starts again from its beginning only.
class ContentStream final : public StreamObject {
 public:
  explicit ContentStream(ContentPtr content)
      : content_(std::move(content)), reader_(content_->Open()) {}

  std::size_t Read(gint64 /*position*/, char* buffer, std::size_t size) override {
    return reader_->Read(buffer, size);
  }
  bool MoveTo(gint64 position) override {
    if (position == 0) reader_ = content_->Open();
    return position == 0;
  }

 private:
  ContentPtr content_;
  std::unique_ptr<ContentReader> reader_;
};

/// The first character of a line tells the number of bytes in it.
bool IsUuencodedLine(std::string_view line) {
  const auto is_digit = [](char c) { return c >= ' ' && c <= '`'; };
  if (line.empty()) return false;
  for (const char c : line) {
    if (!is_digit(c)) return false;
  }
  const auto bytes = static_cast<std::size_t>(line.front() - ' ') % 64;
  const std::size_t digits = (bytes + 2) / 3 * 4;
  // Some programs append a check digit, others trim blanks.
  return line.size() - 1 <= digits + 1 && (bytes == 0 || line.size() > 1 + bytes);
}

}  // namespace

ContentPtr PartContent(GMimeStream* range, PartEncoding encoding,
                       std::shared_ptr<const MailFile> file) {
  return std::make_shared<Part>(range, encoding, std::move(file));
}

bool HoldsUuencodedLines(const Content& undecoded) {
  const std::string start = undecoded.Start(kLongestPreamble);
  if (HasBeginLine(start)) return true;
  const auto first = start.find_first_not_of("\r\n");
  if (first == std::string::npos) return true;
  const auto end = start.find_first_of("\r\n", first);
  return IsUuencodedLine(std::string_view(start).substr(first, end - first));
}

Handle<GMimeStream> StreamOf(ContentPtr content) {
  if (!content) content = MemoryContent("");
  return NewStream(std::make_unique<ContentStream>(std::move(content)));
}

}  // namespace corvessa::desk::mail
