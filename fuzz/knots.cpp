// Fuzzer: on any grid the elimination of the spline's system gives the bits of the dense solve, or neither is finite.
// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "byte_reader.hpp"
#include "util/timing/knot_second_derivatives.hpp"

namespace velmora::fuzzing {
namespace {

using native::Matrix;
using native::Vector;

void Compare(ByteReader& bytes) {
  const auto knots = static_cast<Eigen::Index>(3 + bytes.Below(150));
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
  for (Eigen::Index k = 0; k < dense.size(); ++k) {
    if (std::memcmp(dense.data() + k, eliminated.data() + k, sizeof(double)) != 0) {
      std::fprintf(stderr, "%ld knots: element %ld is %a by the dense solve, %a by elimination\n",
                   static_cast<long>(knots), static_cast<long>(k), dense.data()[k], eliminated.data()[k]);
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
