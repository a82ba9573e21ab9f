// Exponential, sine and cosine with the same bits on every machine.
// SPDX-License-Identifier: Apache-2.0
#include "shaping/elementary_functions.hpp"

#include <cmath>
#include <limits>

#include "internal/finiteness.hpp"

namespace velmora::shaping {
namespace {

constexpr double kLog2E = 0x1.71547652b82fep+0;
// ln 2 in two parts: the first has 33 bits, so that its product with any exponent of a double is exact.
constexpr double kLn2High = 0x1.62e42feep-1;
constexpr double kLn2Low = 0x1.a39ef35793c76p-33;
// 2 pi in two parts.
constexpr double kTwoPiHigh = 0x1.921fb54442d18p+2;
constexpr double kTwoPiLow = 0x1.1a62633145c07p-52;

// Above the first the result is infinite, below the second it rounds to zero.
constexpr double kLargestExponent = 710.0;
constexpr double kSmallestExponent = -746.0;

// 1/2! + r/3! + ... + r^12/14!, so that e^r = 1 + (r + r^2 (this)).
double ExponentialTail(double r) {
  double sum = 1.0 / 87178291200.0;
  sum = std::fma(sum, r, 1.0 / 6227020800.0);
  sum = std::fma(sum, r, 1.0 / 479001600.0);
  sum = std::fma(sum, r, 1.0 / 39916800.0);
  sum = std::fma(sum, r, 1.0 / 3628800.0);
  sum = std::fma(sum, r, 1.0 / 362880.0);
  sum = std::fma(sum, r, 1.0 / 40320.0);
  sum = std::fma(sum, r, 1.0 / 5040.0);
  sum = std::fma(sum, r, 1.0 / 720.0);
  sum = std::fma(sum, r, 1.0 / 120.0);
  sum = std::fma(sum, r, 1.0 / 24.0);
  sum = std::fma(sum, r, 1.0 / 6.0);
  return std::fma(sum, r, 0.5);
}

// -1/3! + z/5! - ... - z^8/19!, so that sin y = y + y^3 (this) with z = y^2.
double SineTail(double z) {
  double sum = -1.0 / 121645100408832000.0;
  sum = std::fma(sum, z, 1.0 / 355687428096000.0);
  sum = std::fma(sum, z, -1.0 / 1307674368000.0);
  sum = std::fma(sum, z, 1.0 / 6227020800.0);
  sum = std::fma(sum, z, -1.0 / 39916800.0);
  sum = std::fma(sum, z, 1.0 / 362880.0);
  sum = std::fma(sum, z, -1.0 / 5040.0);
  sum = std::fma(sum, z, 1.0 / 120.0);
  return std::fma(sum, z, -1.0 / 6.0);
}

// 1/4! - z/6! + ... + z^7/18!, so that cos y = 1 - z/2 + z^2 (this).
double CosineTail(double z) {
  double sum = -1.0 / 6402373705728000.0;
  sum = std::fma(sum, z, 1.0 / 20922789888000.0);
  sum = std::fma(sum, z, -1.0 / 87178291200.0);
  sum = std::fma(sum, z, 1.0 / 479001600.0);
  sum = std::fma(sum, z, -1.0 / 3628800.0);
  sum = std::fma(sum, z, 1.0 / 40320.0);
  sum = std::fma(sum, z, -1.0 / 720.0);
  return std::fma(sum, z, 1.0 / 24.0);
}

}  // namespace

double Exp(double x) {
  if (x > kLargestExponent) return std::numeric_limits<double>::infinity();
  if (x < kSmallestExponent) return 0.0;
  if (x != x) return x;
  const double k = std::round(x * kLog2E);
  const double r = std::fma(-k, kLn2Low, std::fma(-k, kLn2High, x));
  const double power = 1.0 + std::fma(r * r, ExponentialTail(r), r);
  return std::ldexp(power, static_cast<int>(k));
}

SineCosine SineCosineOfTurns(double turns) {
  if (!internal::IsFinite(turns)) {
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    return {kNan, kNan};
  }
  const double within_turn = turns - std::round(turns);
  const double quarters = std::round(4.0 * within_turn);
  const double rest = within_turn - 0.25 * quarters;

  const double y = rest * kTwoPiHigh;
  const double y_low = std::fma(rest, kTwoPiLow, std::fma(rest, kTwoPiHigh, -y));
  const double z = y * y;
  const double half_z = 0.5 * z;
  const double sine = y + std::fma(z * y, SineTail(z), y_low * (1.0 - half_z));
  const double leading = 1.0 - half_z;
  const double cosine = leading + (((1.0 - leading) - half_z) + std::fma(z * z, CosineTail(z), -(y * y_low)));

  switch (static_cast<int>(quarters)) {
    case 0:
      return {sine, cosine};
    case 1:
      return {cosine, -sine};
    case -1:
      return {-cosine, sine};
    default:  // half a turn, either way
      return {-sine, -cosine};
  }
}

}  // namespace velmora::shaping
