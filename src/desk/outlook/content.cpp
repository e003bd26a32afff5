#include "desk/outlook/content.h"

#include <array>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "base/error.h"
#include "posix/file_descriptor.h"
#include "system/errors.h"
#include "system/files.h"

namespace corvessa::desk {
namespace {

/// Runs work that reports by std::system_error.
template <typename Work>
auto Raising(Work work) {
  try {
    return work();
  } catch (const std::system_error& error) {
    Raise(system::ErrorNumberOf(error.code()));
  }
}

posix::FileDescriptor Open(const std::filesystem::path& file, int flags, long missing) {
  posix::FileDescriptor opened(::open(file.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!opened) Raise(system::ErrorNumberOf(posix::LastError(), missing));
  return opened;
}

void ReadPieces(const std::filesystem::path& file, const ContentSink& sink) {
  const auto source = Open(file, O_RDONLY, kFileNotFound);
  std::array<char, 65536> piece;
  const auto read = [&] { return posix::ReadSome(source.Get(), piece.data(), piece.size()); };
  while (const std::size_t got = Raising(read)) sink({piece.data(), got});
}

void WriteFile(const std::filesystem::path& file,
               const std::function<void(const ContentSink& sink)>& provide) {
  auto target = Open(file, O_WRONLY | O_CREAT | O_TRUNC, kPathNotFound);
  const auto write = [&](std::string_view piece) {
    Raising([&] { posix::WriteAll(target.Get(), piece); });
  };
  try {
    provide(write);
    Raising([&] { target.Close(); });
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
    path_ = Raising([] { return system::MakeTemporaryFolder(); });
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
