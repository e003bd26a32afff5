#include "desk/mail/mailbox.h"

#include <algorithm>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/error.h"
#include "desk/mail/mail_io.h"
#include "system/errors.h"
#include "system/files.h"

namespace corvessa::desk::mail {
namespace {

namespace fs = std::filesystem;

/// What begins each mail of an mbox, at the start of the file or after an empty line.
constexpr std::string_view kSeparator = "From ";

/// Finds the separators of an mbox in the order of its bytes.
class MboxScanner {
 public:
  /// Takes the next bytes of the file.
  void Read(std::string_view bytes) {
    for (const char c : bytes) Read(c);
  }
  /// Where each mail begins, after its separator line, and where it ends.
  std::vector<MailPlace> Places(const fs::path& file) {
    if (!starts_.empty()) ends_.push_back(position_);
    std::vector<MailPlace> places;
    for (std::size_t i = 0; i < starts_.size(); ++i) {
      places.push_back({file, starts_[i], ends_[i] - starts_[i]});
    }
    return places;
  }

 private:
  void Read(char c) {
    ++position_;
    if (c == '\n') return EndLine();
    if (column_ < kSeparator.size()) matches_ = matches_ && c == kSeparator[column_];
    is_empty_ = is_empty_ && c == '\r';
    ++column_;
  }
  void EndLine() {
    if (matches_ && column_ > kSeparator.size() && follows_empty_) {
      if (!starts_.empty()) ends_.push_back(line_start_);
      starts_.push_back(position_);
    }
    follows_empty_ = is_empty_;
    line_start_ = position_;
    column_ = 0;
    matches_ = true;
    is_empty_ = true;
  }

  std::vector<std::uint64_t> starts_;
  std::vector<std::uint64_t> ends_;
  std::uint64_t position_ = 0;
  std::uint64_t line_start_ = 0;
  std::size_t column_ = 0;
  bool matches_ = true;
  bool is_empty_ = true;
  bool follows_empty_ = true;
};

/// Empty when the file is no mbox.
std::vector<MailPlace> MailsOfMbox(const fs::path& path) {
  auto file = system::File::OpenForReading(path);
  std::string block(std::size_t{1} << 18, '\0');
  MboxScanner scanner;
  bool is_first = true;
  while (const std::size_t size = file.Read(block.data(), block.size())) {
    const std::string_view bytes(block.data(), size);
    if (std::exchange(is_first, false) && !bytes.starts_with(kSeparator)) return {};
    scanner.Read(bytes);
  }
  return scanner.Places(path);
}

void AddFilesOf(const fs::path& folder, std::vector<MailPlace>& places) {
  const std::size_t before = places.size();
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    const bool is_hidden = entry.path().filename().native().starts_with('.');
    if (!is_hidden && entry.is_regular_file()) places.push_back({entry.path()});
  }
  const auto begin = places.begin() + static_cast<std::ptrdiff_t>(before);
  std::sort(begin, places.end(),
            [](const MailPlace& one, const MailPlace& other) { return one.file < other.file; });
}

std::vector<MailPlace> MailsOfFolder(const fs::path& folder) {
  std::vector<MailPlace> places;
  const bool is_maildir = fs::is_directory(folder / "cur") && fs::is_directory(folder / "new");
  if (!is_maildir) {
    AddFilesOf(folder, places);
    return places;
  }
  AddFilesOf(folder / "cur", places);
  AddFilesOf(folder / "new", places);
  return places;
}

/// Takes one ">" from each line of ">From ".
std::string WithoutQuoting(std::string_view bytes) {
  std::string plain;
  plain.reserve(bytes.size());
  while (!bytes.empty()) {
    const std::size_t end = bytes.find('\n');
    std::string_view line = bytes.substr(0, end == std::string_view::npos ? end : end + 1);
    bytes.remove_prefix(line.size());
    const std::size_t quotes = line.find_first_not_of('>');
    const bool is_quoted = quotes != 0 && quotes != std::string_view::npos &&
                           line.substr(quotes).starts_with(kSeparator);
    plain += is_quoted ? line.substr(1) : line;
  }
  return plain;
}

}  // namespace

std::vector<MailPlace> FindMails(const fs::path& path) {
  if (path == "-") return {{path}};
  try {
    if (fs::is_directory(path)) return MailsOfFolder(path);
    if (!fs::is_regular_file(path)) return {{path}};
    auto places = MailsOfMbox(path);
    return places.empty() ? std::vector<MailPlace>{{path}} : places;
  } catch (const std::system_error& error) {
    system::RaiseIoError(path, "cannot be read", error.code());
  }
}

Mail LoadMail(const MailPlace& place) {
  if (place.size == 0) return LoadMail(place.file);
  std::string bytes(place.size, '\0');
  try {
    const auto file = system::File::OpenForReading(place.file);
    bytes.resize(file.ReadAt(place.offset, bytes.data(), bytes.size()));
  } catch (const std::system_error& error) {
    system::RaiseIoError(place.file, "cannot be read", error.code());
  }
  return ParseMail(WithoutQuoting(bytes));
}

}  // namespace corvessa::desk::mail
