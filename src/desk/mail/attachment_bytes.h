#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace corvessa::desk::mail {

class AttachmentSource;

/// Takes the next piece of an attachment's bytes.
using PieceSink = std::function<void(std::string_view piece)>;

/// The bytes of an attachment without their place in memory: those of a loaded mail stay in the
/// mail's file and are decoded whenever they are asked for, those of a file that was attached live
/// in a nameless temporary file. So an attachment of any size costs a few pages, and no plain copy
/// with a name is ever left behind. Copies share the bytes; nobody can change them.
///
/// Every reader raises Error, "Permission denied" and the like, or kPathFileAccess when the mail's
/// file was changed since it was loaded: what stood there is gone then, and no wrong bytes are
/// given.
class AttachmentBytes {
 public:
  /// No bytes.
  AttachmentBytes() = default;
  explicit AttachmentBytes(std::shared_ptr<const AttachmentSource> source);

  static AttachmentBytes FromBytes(const std::string& bytes);
  /// The file as it is now; it may be changed or deleted afterwards. Raises Error.
  static AttachmentBytes FromFile(const std::filesystem::path& path);

  std::string Bytes() const;
  /// Gives them piece by piece.
  void Provide(const PieceSink& sink) const;
  /// Decodes the whole attachment to count it.
  std::uintmax_t Size() const;

  /// Null for no bytes; for the MIME layer's own use.
  const std::shared_ptr<const AttachmentSource>& Source() const { return source_; }

 private:
  std::shared_ptr<const AttachmentSource> source_;
};

}  // namespace corvessa::desk::mail
