#include "engine/rnp_handles.h"

#include "engine/status.h"

namespace corvessa::engine {
namespace {

FILE* NullStream() {
  static FILE* const stream = std::fopen("/dev/null", "w");
  return stream;
}

}  // namespace

void Check(rnp_result_t result) {
  if (result != RNP_SUCCESS) Fail(kUnexpected, rnp_result_to_string(result));
}

Ffi MakeFfi() {
  return Create<Ffi>(rnp_ffi_create, "GPG", "GPG");
}

QuietLibrary::QuietLibrary() : saved_(stderr) {
  if (FILE* const quiet = NullStream()) stderr = quiet;
}

QuietLibrary::~QuietLibrary() {
  stderr = saved_;
}

}  // namespace corvessa::engine
