#include "engine/rnp_streams.h"

#include <algorithm>
#include <cstring>

#include "engine/status.h"

namespace corvessa::engine {

std::size_t TextSource::Read(char* buffer, std::size_t size) {
  if (first_.empty()) std::swap(first_, second_);
  const std::size_t count = std::min(size, first_.size());
  if (count > 0) std::memcpy(buffer, first_.data(), count);
  first_.remove_prefix(count);
  return count;
}

void TextSink::Write(std::string_view bytes) {
  if (bytes.size() > limit_ - text.size()) {
    Fail(kBadContent, "The text is too large: more than " + std::to_string(limit_) + " bytes.");
  }
  text.append(bytes);
}

void LimitedSink::Write(std::string_view bytes) {
  if (bytes.size() > left_) {
    Fail(kBadContent, "The content is too large: more than " + std::to_string(limit_) + " bytes.");
  }
  left_ -= bytes.size();
  sink_.Write(bytes);
}

InputStream::InputStream(Source& source) : source_(source) {
  input_ = Create<Input>(rnp_input_from_callback, &InputStream::Read, nullptr, this);
}

void InputStream::Rethrow() const {
  if (thrown_) std::rethrow_exception(thrown_);
}

// The library is C at its border, so nothing may be thrown through it.
bool InputStream::Read(void* self, void* buffer, std::size_t size, std::size_t* read) {
  auto& stream = *static_cast<InputStream*>(self);
  try {
    *read = stream.source_.Read(static_cast<char*>(buffer), size);
    return true;
  } catch (...) {
    stream.thrown_ = std::current_exception();
    return false;
  }
}

Stream::Stream(Source& source, Sink& sink) : InputStream(source), sink_(sink) {
  output_ = Create<Output>(rnp_output_to_callback, &Stream::Write, nullptr, this);
}

void Stream::Finish(rnp_result_t result) const {
  Rethrow();
  Check(result);
  const auto flushed = rnp_output_finish(output_.get());
  Rethrow();
  Check(flushed);
}

bool Stream::Write(void* self, const void* buffer, std::size_t size) {
  auto& stream = *static_cast<Stream*>(self);
  try {
    stream.sink_.Write({static_cast<const char*>(buffer), size});
    return true;
  } catch (...) {
    stream.thrown_ = std::current_exception();
    return false;
  }
}

}  // namespace corvessa::engine
