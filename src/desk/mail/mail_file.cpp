#include <cerrno>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "base/error.h"
#include "desk/mail/gmime_stream.h"
#include "desk/mail/parts.h"
#include "system/errors.h"

namespace corvessa::desk::mail {

namespace {

int Descriptor(const system::File& file) {
  return static_cast<int>(file.Native());
}

constexpr std::size_t kPieceSize = 64 * 1024;

/// Reads large pieces. GMime's own stream reads 4 KiB at a time, each with a seek.
class FileReader final : public StreamObject {
 public:
  explicit FileReader(std::shared_ptr<const system::File> file) : file_(std::move(file)) {}

  std::size_t Read(gint64 position, char* buffer, std::size_t size) override {
    return PieceAt(position).copy(buffer, size);
  }
  bool MoveTo(gint64 /*position*/) override { return true; }
  gint64 Length() override { return static_cast<gint64>(file_->Stamp().size); }
  std::unique_ptr<StreamObject> Share() override { return std::make_unique<FileReader>(file_); }

 private:
  std::string_view PieceAt(gint64 position) {
    const auto offset = static_cast<std::size_t>(position - start_of_piece_);
    if (position >= start_of_piece_ && offset < piece_.size()) {
      return std::string_view(piece_).substr(offset);
    }
    piece_.resize(kPieceSize);
    start_of_piece_ = position;
    piece_.resize(file_->ReadAt(static_cast<std::uint64_t>(position), piece_.data(), kPieceSize));
    return piece_;
  }

  std::shared_ptr<const system::File> file_;
  std::string piece_;
  gint64 start_of_piece_ = 0;
};

/// A duplicate, so that closing it leaves the standard input open.
system::File StandardInput() {
  const int descriptor = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0);
  if (descriptor < 0) system::Throw({errno, std::generic_category()});
  return system::File(descriptor);
}

/// Copies a pipe, because GMime must be able to seek.
system::File Seekable(const std::filesystem::path& path, system::File file) {
  struct stat status {};
  fstat(Descriptor(file), &status);
  if (S_ISREG(status.st_mode)) return file;
  if (!S_ISFIFO(status.st_mode) && !S_ISSOCK(status.st_mode)) {
    Raise(kPathFileAccess, path.string() + " is not a file.");
  }
  auto copy = system::File::CreateNameless(std::filesystem::temp_directory_path());
  copy.WriteRestOf(file);
  lseek(Descriptor(copy), 0, SEEK_SET);
  return copy;
}

}  // namespace

std::shared_ptr<const MailFile> MailFile::Open(const std::filesystem::path& path) {
  ParserOptions();
  try {
    auto file = path == "-" ? StandardInput() : system::File::OpenStream(path);
    return std::shared_ptr<const MailFile>(new MailFile(path, Seekable(path, std::move(file))));
  } catch (const std::system_error& error) {
    system::RaiseIoError(path, "cannot be read", error.code());
  }
}

MailFile::MailFile(std::filesystem::path path, system::File file)
    : path_(std::move(path)),
      file_(std::make_shared<system::File>(std::move(file))),
      stream_(
          NewStream(std::make_unique<FileReader>(file_), lseek(Descriptor(*file_), 0, SEEK_CUR))),
      stamp_(file_->Stamp()) {}

void MailFile::CheckUnchanged() const {
  if (file_->Stamp() == stamp_) return;
  Raise(kPathFileAccess, path_.string() + " was changed while it was open. Open it again.");
}

}  // namespace corvessa::desk::mail
