#include "engine/digest.h"

#include <botan/hash.h>
#include <cstdint>

namespace corvessa::engine {

Digest::Digest(const char* algorithm) : hash_(Botan::HashFunction::create_or_throw(algorithm)) {}
Digest::~Digest() = default;
Digest::Digest(Digest&&) noexcept = default;
Digest& Digest::operator=(Digest&&) noexcept = default;

void Digest::Add(std::string_view bytes) {
  hash_->update(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

std::string Digest::Finish() {
  const auto hash = hash_->final();
  return {reinterpret_cast<const char*>(hash.data()), hash.size()};
}

}  // namespace corvessa::engine
