#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace corvessa::system {
class File;
}

/// The bytes of attachments, in the one form in which they travel through the desk.
///
/// Attachments can be larger than memory, so they are passed around as a Content, which says how to
/// read them, and never as bytes: a received one stays in its mail's file and is decoded whenever
/// it is read; one that the add-in attached lives in a file without a name, so that no readable
/// copy of it survives this process.
namespace corvessa::desk {

/// Takes the next piece of a content.
using PieceSink = std::function<void(std::string_view piece)>;

/// One pass over a content, from its start on.
class ContentReader {
 public:
  virtual ~ContentReader() = default;
  /// Up to `size` bytes, which must not be 0; 0 only at the end. Throws Error.
  virtual std::size_t Read(char* buffer, std::size_t size) = 0;
};

/// Immutable bytes. Readers are independent of each other and may outlive the content. Whatever
/// reads throws Error: 53 when the source is gone, 70 when it must not be read, else 75.
class Content {
 public:
  virtual ~Content() = default;
  virtual std::unique_ptr<ContentReader> Open() const = 0;
  /// Reads the whole content to count it unless the size is known.
  virtual std::uintmax_t Size() const;

  void Provide(const PieceSink& sink) const;
  /// For contents that are known to be small.
  std::string Bytes() const;
  /// The first `size` bytes, or all.
  std::string Start(std::size_t size) const;
  /// Writes a file that only its owner can read, in place of an existing one; follows no link.
  /// Throws Error, also 76 for a missing folder; what was there before is untouched then.
  void WriteTo(const std::filesystem::path& file) const;
};
using ContentPtr = std::shared_ptr<const Content>;

ContentPtr MemoryContent(std::string bytes);

/// A file that stays as it is while the content is used. Opened for each reader.
ContentPtr FileContent(std::filesystem::path file);

/// Keeps many contents in few files without names. A file is closed with the last content in it;
/// contents may outlive the store.
class ContentStore {
 public:
  ContentPtr Keep(std::string_view bytes);
  /// A copy of the file as it is now. Throws Error as reading does.
  ContentPtr CopyOf(const std::filesystem::path& file);

 private:
  /// Keeps what `write` writes to the file at its end.
  ContentPtr Add(const std::function<void(system::File& file)>& write);

  /// Its contents own it.
  std::weak_ptr<system::File> file_;
  std::uint64_t end_ = 0;
};

}  // namespace corvessa::desk
