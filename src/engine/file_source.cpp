#include "engine/file_source.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>

namespace corvessa::engine {

FileSource::FileSource(const LocalFile& file, std::string_view replacement)
    : file_(file), replacement_(replacement) {
  posix_fadvise(file_.descriptor(), 0, 0, POSIX_FADV_SEQUENTIAL);
}

std::size_t FileSource::Read(char* buffer, std::size_t size) {
  std::size_t count = 0;
  if (position_ < replacement_.size()) {
    const auto begin = static_cast<std::size_t>(position_);
    count = std::min(size, replacement_.size() - begin);
    std::memcpy(buffer, replacement_.data() + begin, count);
  } else {
    count = file_.ReadAt(position_, buffer, size);
  }
  position_ += count;
  return count;
}

}  // namespace corvessa::engine
