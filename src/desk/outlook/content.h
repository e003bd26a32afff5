#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace corvessa::desk {

/// Takes the next piece of a content.
using ContentSink = std::function<void(std::string_view piece)>;

/// What an attachment holds. It is kept outside memory, because a mailbox shows messages whose
/// attachments together are larger than that.
class Content {
 public:
  virtual ~Content() = default;
  /// Writes it to a file, readable by its owner only, over an existing one; no link is followed. A
  /// failure throws Error (53 source gone, 70, 76, else 75) and leaves no file.
  void WriteTo(const std::filesystem::path& file) const;
  /// Gives it piece by piece.
  virtual void Provide(const ContentSink& sink) const = 0;
};
using ContentPtr = std::shared_ptr<const Content>;

/// A file that somebody else owns and leaves as it is while the content is used.
ContentPtr FileContent(std::filesystem::path file);

/// Made piece by piece whenever it is asked for.
ContentPtr ProvidedContent(std::function<void(const ContentSink& sink)> provide);

/// A private temporary folder (mode 0700) of contents, removed with the last of them.
class ContentFolder : public std::enable_shared_from_this<ContentFolder> {
 public:
  ContentFolder() = default;
  ~ContentFolder();
  ContentFolder(const ContentFolder&) = delete;
  ContentFolder& operator=(const ContentFolder&) = delete;

  /// A copy of the file as it is now; the copy is deleted with its last user.
  ContentPtr CopyOf(const std::filesystem::path& file);
  ContentPtr Keep(std::string_view bytes);
  /// Empty until something was kept.
  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path NextFile();

  std::filesystem::path path_;
  std::uint64_t last_ = 0;
};

/// The whole content in memory, for those who know that it is small.
std::string ReadAll(const Content& content);

}  // namespace corvessa::desk
