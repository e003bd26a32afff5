#pragma once

#include "platform/mime.h"

namespace corvessa::desk::mail {

/// MIME as the desk reads its mail files.
class MimeReader final : public platform::MimeReader {
 public:
  platform::MimeMessage Read(std::string_view bytes) override;
};

}  // namespace corvessa::desk::mail
