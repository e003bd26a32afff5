#include "desk/content/content.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <system_error>
#include <utility>

#include "base/error.h"
#include "system/errors.h"
#include "system/files.h"

namespace corvessa::desk {
namespace {

constexpr std::size_t kPieceSize = 64U * 1024;

/// A store begins another file behind that, so that one content does not hold all others' space.
constexpr std::uint64_t kFullFile = 64U * 1024 * 1024;

/// Runs work that reports by std::system_error; `missing` is the number for what is not there.
template <typename Work>
auto Raising(Work work, long missing = kFileNotFound) {
  try {
    return work();
  } catch (const std::system_error& error) {
    Raise(system::ErrorNumberOf(error.code(), missing));
  }
}

class MemoryReader final : public ContentReader {
 public:
  explicit MemoryReader(std::shared_ptr<const std::string> bytes) : bytes_(std::move(bytes)) {}
  std::size_t Read(char* buffer, std::size_t size) override {
    const std::size_t count = bytes_->copy(buffer, size, at_);
    at_ += count;
    return count;
  }

 private:
  std::shared_ptr<const std::string> bytes_;
  std::size_t at_ = 0;
};

class BytesInMemory final : public Content {
 public:
  explicit BytesInMemory(std::string bytes)
      : bytes_(std::make_shared<const std::string>(std::move(bytes))) {}
  std::unique_ptr<ContentReader> Open() const override {
    return std::make_unique<MemoryReader>(bytes_);
  }
  std::uintmax_t Size() const override { return bytes_->size(); }

 private:
  std::shared_ptr<const std::string> bytes_;
};

class FileReader final : public ContentReader {
 public:
  explicit FileReader(system::File file) : file_(std::move(file)) {}
  std::size_t Read(char* buffer, std::size_t size) override {
    return Raising([&] { return file_.Read(buffer, size); });
  }

 private:
  system::File file_;
};

class BytesInFile final : public Content {
 public:
  explicit BytesInFile(std::filesystem::path path) : path_(std::move(path)) {}
  std::unique_ptr<ContentReader> Open() const override {
    return std::make_unique<FileReader>(OpenFile());
  }
  std::uintmax_t Size() const override {
    return Raising([&] { return OpenFile().Size(); });
  }

 private:
  system::File OpenFile() const {
    return Raising(
        [&] { return system::File::OpenForReading(path_, system::File::Links::kRefuse); });
  }

  std::filesystem::path path_;
};

class RangeReader final : public ContentReader {
 public:
  RangeReader(std::shared_ptr<const system::File> file, std::uint64_t start, std::uint64_t end)
      : file_(std::move(file)), at_(start), end_(end) {}
  std::size_t Read(char* buffer, std::size_t size) override {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(size, end_ - at_));
    const auto count = Raising([&] { return file_->ReadAt(at_, buffer, wanted); });
    if (count < wanted) Raise(kPathFileAccess);
    at_ += count;
    return count;
  }

 private:
  std::shared_ptr<const system::File> file_;
  std::uint64_t at_;
  std::uint64_t end_;
};

class KeptRange final : public Content {
 public:
  KeptRange(std::shared_ptr<const system::File> file, std::uint64_t start, std::uint64_t end)
      : file_(std::move(file)), start_(start), end_(end) {}
  std::unique_ptr<ContentReader> Open() const override {
    return std::make_unique<RangeReader>(file_, start_, end_);
  }
  std::uintmax_t Size() const override { return end_ - start_; }

 private:
  std::shared_ptr<const system::File> file_;
  std::uint64_t start_;
  std::uint64_t end_;
};

}  // namespace

std::uintmax_t Content::Size() const {
  std::uintmax_t size = 0;
  Provide([&](std::string_view piece) { size += piece.size(); });
  return size;
}

void Content::Provide(const PieceSink& sink) const {
  const auto reader = Open();
  std::array<char, kPieceSize> piece;  // NOLINT(cppcoreguidelines-pro-type-member-init)
  while (const std::size_t got = reader->Read(piece.data(), piece.size())) {
    sink({piece.data(), got});
  }
}

std::string Content::Bytes() const {
  std::string bytes;
  Provide([&](std::string_view piece) { bytes += piece; });
  return bytes;
}

std::string Content::Start(std::size_t size) const {
  std::string start(size, '\0');
  const auto reader = Open();
  std::size_t done = 0;
  while (done < size) {
    const std::size_t got = reader->Read(start.data() + done, size - done);
    if (got == 0) break;
    done += got;
  }
  start.resize(done);
  return start;
}

void Content::WriteTo(const std::filesystem::path& file) const {
  const auto write = [&] {
    system::AtomicFile target(file);
    Provide([&](std::string_view piece) { target.Write(piece); });
    target.Commit();
  };
  Raising(write, kPathNotFound);
}

ContentPtr MemoryContent(std::string bytes) {
  return std::make_shared<BytesInMemory>(std::move(bytes));
}

ContentPtr FileContent(std::filesystem::path file) {
  return std::make_shared<BytesInFile>(std::move(file));
}

ContentPtr ContentStore::Add(const std::function<void(system::File& file)>& write) {
  auto file = end_ < kFullFile ? file_.lock() : nullptr;
  if (!file) {
    const auto folder = std::filesystem::temp_directory_path();
    file = std::make_shared<system::File>(system::File::CreateNameless(folder));
    end_ = 0;
  }
  // Not used again if writing fails: the position is behind what was written then.
  file_.reset();
  write(*file);
  const std::uint64_t start = std::exchange(end_, file->Size());
  file_ = file;
  return std::make_shared<KeptRange>(std::move(file), start, end_);
}

ContentPtr ContentStore::Keep(std::string_view bytes) {
  return Raising([&] { return Add([&](system::File& file) { file.Write(bytes); }); });
}

ContentPtr ContentStore::CopyOf(const std::filesystem::path& file) {
  return Raising([&] {
    auto source = system::File::OpenForReading(file, system::File::Links::kRefuse);
    return Add([&](system::File& copy) { copy.WriteRestOf(source); });
  });
}

}  // namespace corvessa::desk
