#pragma once

#include <concepts>

#include "base/error.h"

namespace corvessa {

/// Arithmetic of a fixed width in which running over is an error (6, "Overflow").

template <std::signed_integral Integer>
Integer CheckedAdd(Integer a, Integer b) {
  Integer sum{};
  if (__builtin_add_overflow(a, b, &sum)) Raise(kOverflow);
  return sum;
}

template <std::signed_integral Integer>
Integer CheckedMultiply(Integer a, Integer b) {
  Integer product{};
  if (__builtin_mul_overflow(a, b, &product)) Raise(kOverflow);
  return product;
}

/// The value in a narrower type.
template <std::signed_integral To, std::integral From>
To CheckedNarrow(From value) {
  To narrow{};
  if (__builtin_add_overflow(value, From{0}, &narrow)) Raise(kOverflow);
  return narrow;
}

}  // namespace corvessa
