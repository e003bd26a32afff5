#pragma once

#include <string_view>

#include "platform/mime.h"

/// A MIME reader without a library, for hosts whose system offers none that can be trusted with
/// hostile mail: it takes linear time, nests to a fixed depth, and compares boundaries exactly.
namespace corvessa::mime {

class MimeReader final : public platform::MimeReader {
 public:
  platform::MimeMessage Read(std::string_view mail) override;
};

}  // namespace corvessa::mime
