// Exponential, sine and cosine with the same bits on every machine.
// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace velmora::shaping {

/// e^x within 1 ulp of the true value, for any x; 0 and infinity where it leaves the range of `double`, NaN for NaN.
///
/// The mathematical library of the system differs in the last bits from one release and processor to the next, so the
/// designs would too. Here every operation is written out. Arguments are reduced by multiples of ln 2 that are split in
/// two (W. J. Cody, W. Waite, "Software Manual for the Elementary Functions", 1980), and the rest, at most ln 2 / 2,
/// goes through a Taylor polynomial whose truncation error is below 2^-59.
double Exp(double x);

/// A point of the unit circle.
struct SineCosine {
  double sine;
  double cosine;
};

/// Sine and cosine of an angle in turns, that is of 2 pi `turns`, each within 1 ulp of its true value.
///
/// In turns the reduction to an eighth of a turn is exact. What is left goes, as a product with 2 pi in two parts,
/// through Taylor polynomials whose truncation errors are below 2^-60. NaN for what is not finite.
SineCosine SineCosineOfTurns(double turns);

}  // namespace velmora::shaping
