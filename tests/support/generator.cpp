// Random inputs that are the same on every machine and with every standard library.
// SPDX-License-Identifier: Apache-2.0
#include "support/generator.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include "support/arrays.hpp"

namespace velmora::testing {
namespace {

int Exponent(SplitMix64& random, int lowest, int highest) {
  return lowest + static_cast<int>(random.Below(static_cast<std::size_t>(highest - lowest + 1)));
}

double Step(SplitMix64& random, TimeFamily family, double scale, std::size_t size) {
  switch (family) {
    case TimeFamily::uniform:
      return scale;
    case TimeFamily::jittered:
    case TimeFamily::late_start:
      return scale * (0.25 + random.Unit());
    case TimeFamily::geometric:
      return scale;  // grown by the caller
    case TimeFamily::nearly_repeated:
      return random.OneIn(3) ? 0.0 : scale * random.Unit();  // 0 becomes the next double
    case TimeFamily::integers:
      return static_cast<double>(1 + random.Below(3));
    case TimeFamily::huge:
      return 1.9 * (1e308 / static_cast<double>(size)) * (0.5 + 0.5 * random.Unit());
    case TimeFamily::subnormal:
      return kSmallest * static_cast<double>(1 + random.Below(1000));
  }
  return scale;
}

double Start(SplitMix64& random, TimeFamily family, double scale) {
  switch (family) {
    case TimeFamily::late_start:
      return 1.6e9 + random.Unit();  // stamps since an epoch
    case TimeFamily::huge:
      return random.OneIn(2) ? -1e308 : -0.25e308;
    case TimeFamily::subnormal:
      return random.OneIn(2) ? 0.0 : -kSmallest * static_cast<double>(random.Below(1000));
    case TimeFamily::integers:
      return static_cast<double>(random.Below(7)) - 3.0;
    default:
      return random.OneIn(2) ? 0.0 : 50.0 * scale * random.Symmetric();
  }
}

}  // namespace

std::uint64_t SplitMix64::Next() {
  state_ += 0x9e3779b97f4a7c15U;
  std::uint64_t z = state_;
  z = (z ^ (z >> 30U)) * 0xbf58476d1ce4e5b9U;
  z = (z ^ (z >> 27U)) * 0x94d049bb133111ebU;
  return z ^ (z >> 31U);
}

double SplitMix64::Unit() { return std::ldexp(static_cast<double>(Next() >> 11U), -53); }

ValueFamily RandomValueFamily(SplitMix64& random) { return static_cast<ValueFamily>(random.Below(7)); }

TimeFamily RandomTimeFamily(SplitMix64& random) { return static_cast<TimeFamily>(random.Below(8)); }

double RandomValue(SplitMix64& random, ValueFamily family) {
  const double value = random.Symmetric();
  switch (family) {
    case ValueFamily::integers:
      return std::floor(8.0 * value);
    case ValueFamily::mixed_magnitudes:
      return std::ldexp(value, Exponent(random, -300, 300));
    case ValueFamily::huge:
      return std::ldexp(value, Exponent(random, 1020, 1024));
    case ValueFamily::subnormal:
      return std::ldexp(value, Exponent(random, -1074, -1020));
    default:
      return 3.0 * value;
  }
}

double SpecialValue(SplitMix64& random) {
  const std::array<double, 8> values = {kNan, kInfinity, -kInfinity, -0.0, 0.0, kLargest, -kLargest, kSmallest};
  return values.at(random.Below(values.size()));
}

native::Matrix RandomMatrix(SplitMix64& random, std::size_t rows, std::size_t cols, ValueFamily family) {
  native::Matrix matrix(static_cast<Eigen::Index>(rows), static_cast<Eigen::Index>(cols));
  const double constant = RandomValue(random, family);
  const std::size_t size = rows * cols;
  for (std::size_t k = 0; k < size; ++k) {
    matrix.data()[k] = family == ValueFamily::constant ? constant : RandomValue(random, family);
  }
  if (family == ValueFamily::special && size > 0) {
    for (std::size_t count = 1 + random.Below(2); count > 0; --count) {
      matrix.data()[random.Below(size)] = SpecialValue(random);
    }
  }
  return matrix;
}

native::Vector RandomVector(SplitMix64& random, std::size_t size, ValueFamily family) {
  return RandomMatrix(random, size, 1, family).col(0);
}

native::Vector RandomTimes(SplitMix64& random, std::size_t size, TimeFamily family) {
  native::Vector times(static_cast<Eigen::Index>(size));
  const double mantissa = 0.5 + random.Unit();  // drawn apart: the order of evaluation of arguments is not fixed
  const double scale = std::ldexp(mantissa, Exponent(random, -12, 3));
  const double growth = 1.0 + 0.5 * random.Unit();
  double time = Start(random, family, scale);
  double grown = scale;
  for (Eigen::Index i = 0; i < times.size(); ++i) {
    times[i] = time;
    const double step = family == TimeFamily::geometric ? grown : Step(random, family, scale, size);
    grown *= growth;
    time = std::max(time + step, std::nextafter(time, kInfinity));
  }
  return times;
}

void SpoilTimes(SplitMix64& random, native::Vector& times) {
  if (times.size() == 0) return;
  const auto i = static_cast<Eigen::Index>(random.Below(static_cast<std::size_t>(times.size())));
  if (i == 0 || random.OneIn(3)) {
    times[i] = SpecialValue(random);
  } else if (random.OneIn(2)) {
    times[i] = times[i - 1];
  } else {
    std::swap(times[i], times[i - 1]);
  }
}

}  // namespace velmora::testing
