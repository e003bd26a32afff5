#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "engine/rnp_streams.h"

namespace Botan {
class HashFunction;
}

namespace corvessa::engine {

/// A hash over bytes that come in pieces: "SHA-256" or "SHA-1".
class Digest {
 public:
  explicit Digest(const char* algorithm = "SHA-256");
  ~Digest();
  Digest(Digest&&) noexcept;
  Digest& operator=(Digest&&) noexcept;

  void Add(std::string_view bytes);
  /// The hash, in binary; starts anew.
  std::string Finish();

 private:
  std::unique_ptr<Botan::HashFunction> hash_;
};

}  // namespace corvessa::engine
