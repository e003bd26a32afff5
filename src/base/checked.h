#pragma once

#include <concepts>
#include <cstdint>
#include <utility>

#include "base/error.h"

/// Arithmetic of the classic fixed widths, 16 and 32 bits, in which an overflow is an error (6,
/// "Overflow").
namespace corvessa {

/// The value in another type, which must be able to hold it.
template <std::signed_integral To, std::integral From>
To CheckedNarrow(From value) {
  if (!std::in_range<To>(value)) Raise(kOverflow);
  return static_cast<To>(value);
}

template <std::signed_integral Integer>
requires(sizeof(Integer) <= sizeof(std::int32_t)) Integer CheckedAdd(Integer a, Integer b) {
  return CheckedNarrow<Integer>(std::int64_t{a} + std::int64_t{b});
}

template <std::signed_integral Integer>
requires(sizeof(Integer) <= sizeof(std::int32_t)) Integer CheckedMultiply(Integer a, Integer b) {
  return CheckedNarrow<Integer>(std::int64_t{a} * std::int64_t{b});
}

}  // namespace corvessa
