// Fuzzer: the elimination of the spline's system gives what the dense solve gives.
//
// Bits are promised for ordinary grids; here, on any grid, both are finite or neither is, and no second derivative is
// further from the dense one than 4 units in the last place of its joint's largest.
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "byte_reader.hpp"
#include "util/timing/knot_factors.hpp"
#include "util/timing/knot_second_derivatives.hpp"

namespace velmora::fuzzing {
namespace {

using native::Matrix;
using native::Vector;

double UnitInTheLastPlace(double value) {
  const double magnitude = std::abs(value);
  return std::nextafter(magnitude, INFINITY) - magnitude;
}

void Compare(ByteReader& bytes) {
  const auto knots = static_cast<Eigen::Index>(33 + bytes.Below(200));
  const auto joints = static_cast<Eigen::Index>(1 + bytes.Below(5));
  const Vector x = bytes.Times(knots);
  const Vector h = x.tail(knots - 1) - x.head(knots - 1);
  if (!h.allFinite() || !(h.array() > 0.0).all()) return;
  const Matrix y = bytes.Array(knots, joints);
  if (!y.allFinite()) return;

  const Matrix dense = util::timing::SolveKnotSecondDerivativesDense(h, y);
  const Matrix eliminated = util::timing::SolveKnotSecondDerivatives(h, y);
  if (dense.allFinite() != eliminated.allFinite()) {
    std::fprintf(stderr, "%ld knots: finite %d by the dense solve, %d by elimination\n", static_cast<long>(knots),
                 dense.allFinite(), eliminated.allFinite());
    std::abort();
  }
  if (!dense.allFinite()) return;
  for (Eigen::Index j = 0; j < joints; ++j) {
    const double unit = UnitInTheLastPlace(dense.col(j).cwiseAbs().maxCoeff());
    const double ulp = (dense.col(j) - eliminated.col(j)).cwiseAbs().maxCoeff() / unit;
    if (!(ulp <= 4.0)) {
      std::fprintf(stderr, "%ld knots: joint %ld differs by %g ulp of its largest\n", static_cast<long>(knots),
                   static_cast<long>(j), ulp);
      std::abort();
    }
  }
}

}  // namespace
}  // namespace velmora::fuzzing

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  velmora::fuzzing::ByteReader bytes(data, size);
  velmora::fuzzing::Compare(bytes);
  return 0;
}
