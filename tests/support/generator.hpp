// Random inputs that are the same on every machine and with every standard library.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "velmora/native/array_types.hpp"

namespace velmora::testing {

/// SplitMix64: S. Vigna's public-domain generator, after Steele, Lea and Flood, "Fast splittable pseudorandom number
/// generators" (2014). One 64-bit word of state; every seed is good.
class SplitMix64 {
 public:
  explicit SplitMix64(std::uint64_t seed) : state_(seed) {}

  std::uint64_t Next();
  /// Uniform in 0 .. count - 1; the bias of the remainder is of no concern here.
  std::size_t Below(std::size_t count) { return static_cast<std::size_t>(Next() % count); }
  bool OneIn(std::size_t count) { return Below(count) == 0; }
  /// In [0, 1), a multiple of 2^-53.
  double Unit();
  /// In [-1, 1).
  double Symmetric() { return 2.0 * Unit() - 1.0; }

 private:
  std::uint64_t state_;
};

enum class ValueFamily { moderate, integers, mixed_magnitudes, huge, subnormal, constant, special };
enum class TimeFamily { uniform, jittered, geometric, nearly_repeated, integers, late_start, huge, subnormal };

ValueFamily RandomValueFamily(SplitMix64& random);
TimeFamily RandomTimeFamily(SplitMix64& random);

/// A number of the family; `special` and `constant` give moderate ones, their arrays differ as a whole.
double RandomValue(SplitMix64& random, ValueFamily family);

/// NaN, an infinity, a zero of either sign, the largest or the smallest magnitudes.
double SpecialValue(SplitMix64& random);

/// `special` has one or two special values among moderate ones.
native::Matrix RandomMatrix(SplitMix64& random, std::size_t rows, std::size_t cols, ValueFamily family);
native::Vector RandomVector(SplitMix64& random, std::size_t size, ValueFamily family);

/// Finite and strictly increasing.
native::Vector RandomTimes(SplitMix64& random, std::size_t size, TimeFamily family);

/// Puts one entry out of order, repeats one, or makes one not finite. Leaves an empty vector as it is.
void SpoilTimes(SplitMix64& random, native::Vector& times);

}  // namespace velmora::testing
