#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

#include "engine/rnp_handles.h"

namespace corvessa::engine {

/// What the library reads from. Unlike the library's own memory input it may be empty.
class Source {
 public:
  virtual ~Source() = default;
  /// Fills up to `size` bytes; 0 at the end. Throws EngineFailure when reading fails.
  virtual std::size_t Read(char* buffer, std::size_t size) = 0;
};

/// What the library writes to.
class Sink {
 public:
  virtual ~Sink() = default;
  /// Throws EngineFailure when the bytes cannot be taken.
  virtual void Write(std::string_view bytes) = 0;
};

/// Reads two pieces of memory one after the other; both must outlive it.
class TextSource final : public Source {
 public:
  explicit TextSource(std::string_view first, std::string_view second = {})
      : first_(first), second_(second) {}
  std::size_t Read(char* buffer, std::size_t size) override;

 private:
  std::string_view first_;
  std::string_view second_;
};

/// Collects text; past `limit` bytes it fails with -3.
class TextSink final : public Sink {
 public:
  explicit TextSink(std::size_t limit = std::string().max_size()) : limit_(limit) {}
  void Write(std::string_view bytes) override;

  std::string text;

 private:
  std::size_t limit_;
};

/// Passes on up to `limit` bytes; past them it fails with -3.
class LimitedSink final : public Sink {
 public:
  LimitedSink(Sink& sink, std::uint64_t limit) : sink_(sink), limit_(limit), left_(limit) {}
  void Write(std::string_view bytes) override;
  /// Counts from nothing again.
  void Restart() { left_ = limit_; }

 private:
  Sink& sink_;
  std::uint64_t limit_;
  std::uint64_t left_;
};

/// What one library operation reads from a source. An EngineFailure thrown by it reaches the caller
/// of `Rethrow` instead of the library, which only sees a failed read.
class InputStream {
 public:
  explicit InputStream(Source& source);
  InputStream(const InputStream&) = delete;
  InputStream& operator=(const InputStream&) = delete;

  rnp_input_t input() const { return input_.get(); }
  /// Throws what the source, or the sink of a Stream, threw so far, if anything.
  void Rethrow() const;

 protected:
  std::exception_ptr thrown_;

 private:
  static bool Read(void* self, void* buffer, std::size_t size, std::size_t* read);

  Source& source_;
  Input input_;
};

/// Runs one library operation between a source and a sink.
class Stream final : public InputStream {
 public:
  Stream(Source& source, Sink& sink);

  rnp_output_t output() const { return output_.get(); }
  /// To be called after the operation with its result: throws what the source or the sink threw, or
  /// EngineFailure for a result that is no success; then flushes the sink.
  void Finish(rnp_result_t result) const;

 private:
  static bool Write(void* self, const void* buffer, std::size_t size);

  Sink& sink_;
  Output output_;
};

}  // namespace corvessa::engine
