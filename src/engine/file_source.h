#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "engine/local_files.h"
#include "engine/rnp_streams.h"

namespace corvessa::engine {

/// Reads an open file from its start, with `replacement` in place of as many of its first bytes.
class FileSource final : public Source {
 public:
  explicit FileSource(const LocalFile& file, std::string_view replacement = {});
  std::size_t Read(char* buffer, std::size_t size) override;

 private:
  const LocalFile& file_;
  std::string replacement_;
  std::uint64_t position_ = 0;
};

}  // namespace corvessa::engine
