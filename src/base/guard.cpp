#include "base/guard.h"

#include <exception>
#include <new>
#include <string>

#include "base/trace_sink.h"

namespace corvessa {
namespace {

constexpr long kOutOfMemory = 7;
constexpr long kInternalError = 51;

Error Caught() {
  try {
    throw;
  } catch (const Error& error) {
    return error.number == 0 ? Error{kInternalError, error.description} : error;
  } catch (const std::bad_alloc&) {
    return {kOutOfMemory, "Out of memory"};
  } catch (const std::exception& error) {
    return {kInternalError, error.what()};
  } catch (...) {
    return {kInternalError, "Internal error"};
  }
}

}  // namespace

Error CaughtError() noexcept {
  try {
    return Caught();
  } catch (...) {
    return {kOutOfMemory, {}};
  }
}

void TraceCaughtError(std::string_view prefix) noexcept {
  try {
    Debug_Info::TraceLog(std::string(prefix) + Caught().description);
  } catch (...) {
    // Out of memory twice: the line is lost, the caller carries on.
  }
}

}  // namespace corvessa
