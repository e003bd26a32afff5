#pragma once

#include <string_view>
#include <utility>

#include "base/error.h"

namespace corvessa {

/// The error being handled, as an Error; to be called from a catch block only.
Error CaughtError() noexcept;

/// Writes the one trace line of a caught error; never throws. To be called from a catch block only.
void TraceCaughtError(std::string_view prefix) noexcept;

/// The error boundary. Runs the body and gives its result; when anything is thrown, writes one
/// trace line, prefix + description, and gives the neutral result. Nothing gets past it.
template <typename Result, typename Body>
Result Guarded(std::string_view prefix, Result neutral, Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (...) {
    TraceCaughtError(prefix);
    return neutral;
  }
}

template <typename Body>
void Guarded(std::string_view prefix, Body&& body) noexcept {
  try {
    std::forward<Body>(body)();
  } catch (...) {
    TraceCaughtError(prefix);
  }
}

/// Runs the body and gives the error that ended it, number 0 when none did. For the places that go
/// on after an error, entry by entry, and word their own trace.
template <typename Body>
Error Attempt(Body&& body) noexcept {
  try {
    std::forward<Body>(body)();
    return {};
  } catch (...) {
    return CaughtError();
  }
}

/// Runs the body; an error ends it and nothing else.
template <typename Body>
void Ignoring(Body&& body) noexcept {
  Attempt(std::forward<Body>(body));
}

}  // namespace corvessa
