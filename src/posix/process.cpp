#include "system/process.h"

#include <cstdio>
#include <cstdlib>

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

QuietErrorStream::QuietErrorStream() : saved_(stderr) {
  if (FILE* const quiet = NullStream()) stderr = quiet;
}

QuietErrorStream::~QuietErrorStream() {
  stderr = static_cast<FILE*>(saved_);
}

}  // namespace corvessa::system
