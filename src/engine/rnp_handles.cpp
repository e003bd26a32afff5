#include "engine/rnp_handles.h"

#include "engine/status.h"

namespace corvessa::engine {
namespace {

/// The library's cryptography keeps its secrets in memory that is never swapped out. Left alone it
/// locks half a megabyte, page by page: 1,200 system calls for each process. Sending and opening
/// have 6 pages of 4 KiB in use at once with keys of today, 15 with RSA 4096; this is 32.
void LimitLockedMemory() {
  static constexpr const char* kKibibytes = "128";
  system::SetDefaultVariable("BOTAN_MLOCK_POOL_SIZE", kKibibytes);
}

}  // namespace

void Check(rnp_result_t result) {
  if (result != RNP_SUCCESS) Fail(kUnexpected, rnp_result_to_string(result));
}

Ffi MakeFfi() {
  LimitLockedMemory();
  return Create<Ffi>(rnp_ffi_create, "GPG", "GPG");
}

}  // namespace corvessa::engine
