#include "desk/outlook/content.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "base/error.h"

namespace corvessa::desk {
namespace {

[[noreturn]] void RaiseErrno(int error, long not_found) {
  if (error == ENOENT) Raise(not_found);
  if (error == EACCES || error == EPERM || error == EROFS) Raise(kPermissionDenied);
  if (error == ENOTDIR) Raise(kPathNotFound);
  Raise(kPathFileAccess);
}

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int Get() const { return fd_; }
  /// The last chance to learn that what was written did not arrive.
  void Close() {
    if (::close(std::exchange(fd_, -1)) != 0) RaiseErrno(errno, kPathNotFound);
  }

 private:
  int fd_;
};

void WritePiece(int fd, std::string_view piece) {
  while (!piece.empty()) {
    const ssize_t written = ::write(fd, piece.data(), piece.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) RaiseErrno(errno, kPathNotFound);
    piece.remove_prefix(static_cast<std::size_t>(written));
  }
}

void ReadPieces(const std::filesystem::path& file, const ContentSink& sink) {
  const Descriptor source(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  if (source.Get() < 0) RaiseErrno(errno, kFileNotFound);
  std::array<char, 65536> piece;
  for (;;) {
    const ssize_t got = ::read(source.Get(), piece.data(), piece.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) RaiseErrno(errno, kFileNotFound);
    if (got == 0) return;
    sink({piece.data(), static_cast<std::size_t>(got)});
  }
}

void WriteFile(const std::filesystem::path& file,
               const std::function<void(const ContentSink& sink)>& provide) {
  Descriptor target(
      ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (target.Get() < 0) RaiseErrno(errno, kPathNotFound);
  try {
    provide([&](std::string_view piece) { WritePiece(target.Get(), piece); });
    target.Close();
  } catch (...) {
    ::unlink(file.c_str());
    throw;
  }
}

class ProvidedPieces final : public Content {
 public:
  explicit ProvidedPieces(std::function<void(const ContentSink&)> provide)
      : provide_(std::move(provide)) {}
  void Provide(const ContentSink& sink) const override { provide_(sink); }

 private:
  std::function<void(const ContentSink&)> provide_;
};

class KeptFile final : public Content {
 public:
  KeptFile(std::shared_ptr<ContentFolder> folder, std::filesystem::path file)
      : folder_(std::move(folder)), file_(std::move(file)) {}
  ~KeptFile() override { ::unlink(file_.c_str()); }
  void Provide(const ContentSink& sink) const override { ReadPieces(file_, sink); }

 private:
  std::shared_ptr<ContentFolder> folder_;
  std::filesystem::path file_;
};

}  // namespace

void Content::WriteTo(const std::filesystem::path& file) const {
  WriteFile(file, [this](const ContentSink& sink) { Provide(sink); });
}

ContentPtr FileContent(std::filesystem::path file) {
  return ProvidedContent(
      [file = std::move(file)](const ContentSink& sink) { ReadPieces(file, sink); });
}

ContentPtr ProvidedContent(std::function<void(const ContentSink& sink)> provide) {
  return std::make_shared<ProvidedPieces>(std::move(provide));
}

ContentFolder::~ContentFolder() {
  std::error_code ignored;
  if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path ContentFolder::NextFile() {
  if (path_.empty()) {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "corvessa-items-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) RaiseErrno(errno, kPathNotFound);
    path_ = pattern;
  }
  return path_ / std::to_string(++last_);
}

ContentPtr ContentFolder::CopyOf(const std::filesystem::path& file) {
  auto copy = NextFile();
  WriteFile(copy, [&](const ContentSink& sink) { ReadPieces(file, sink); });
  return std::make_shared<KeptFile>(shared_from_this(), std::move(copy));
}

ContentPtr ContentFolder::Keep(std::string_view bytes) {
  auto kept = NextFile();
  WriteFile(kept, [&](const ContentSink& sink) { sink(bytes); });
  return std::make_shared<KeptFile>(shared_from_this(), std::move(kept));
}

std::string ReadAll(const Content& content) {
  std::string all;
  content.Provide([&](std::string_view piece) { all += piece; });
  return all;
}

}  // namespace corvessa::desk
