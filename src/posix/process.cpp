#include "system/process.h"

#include <cstdio>
#include <cstdlib>
#include <sys/mman.h>

#include "base/secret_string.h"

namespace corvessa::system {
namespace {

FILE* NullStream() {
  static FILE* const stream = std::fopen("/dev/null", "we");
  return stream;
}

}  // namespace

void SetDefaultVariable(const char* name, const char* value) {
  setenv(name, value, /*overwrite=*/0);
}

bool LockSecrets() {
  const auto memory = SecretArena();
  return mlock(memory.data(), memory.size()) == 0;
}

QuietErrorStream::QuietErrorStream() : saved_(stderr) {
  if (FILE* const quiet = NullStream()) stderr = quiet;
}

QuietErrorStream::~QuietErrorStream() {
  stderr = static_cast<FILE*>(saved_);
}

}  // namespace corvessa::system
