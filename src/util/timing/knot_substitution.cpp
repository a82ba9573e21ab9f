// Forward and back substitution with the factors of the spline's system.
// SPDX-License-Identifier: Apache-2.0
#include "util/timing/knot_substitution.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "internal/cpu_dispatch.hpp"
#include "internal/row_lanes.hpp"
#include "util/timing/panel_substitution.hpp"

namespace velmora::util::timing {
namespace {

using Eigen::Index;
using internal::Load;
using internal::Store;

void ExchangeRows(const KnotFactors& factors, Matrix& m) {
  const Index last = m.rows() - 1;
  if (factors.first_exchanged) m.row(0).swap(m.row(1));
  if (factors.last_exchanged) m.row(last - 2).swap(m.row(last));
}

// `SubstituteInPanels` without the products that are zero, for the joints of one block of columns. Panels matter to the
// last row alone: every other one subtracts one product, or two of the same panel. Of the three products of the last
// row that with row N - 4 is zero, or that with row N - 3; where they lie in different panels, nothing is summed. The
// loops keep the row just solved in registers, since what was just stored is slow to load again.
template <typename Block>
VELMORA_ALWAYS_INLINE void SubstituteColumns(const KnotFactors& factors, double* m, Index knots, Index joints,
                                             const Block& columns) {
  using Value = typename Block::Value;
  const double* lower = factors.lower.data();
  const double* upper = factors.upper.data();
  const double* inverse_pivot = factors.inverse_pivot.data();
  const Index last = knots - 1;
  // All columns of a row are loaded before one is stored: they may overlap.
  std::array<Value, Block::kSize> here;
  std::array<Value, Block::kSize> next;

  for (std::size_t c = 0; c < Block::kSize; ++c) here[c] = Load<Value>(m + columns.first[c]);
  double* row = m + joints;
  for (Index i = 1; i < last; ++i, row += joints) {
    for (std::size_t c = 0; c < Block::kSize; ++c) here[c] = Load<Value>(row + columns.first[c]) - lower[i] * here[c];
    for (std::size_t c = 0; c < Block::kSize; ++c) Store(here[c], row + columns.first[c]);
  }

  const bool in_other_panels = last % kPanel == 0;
  for (std::size_t c = 0; c < Block::kSize; ++c) {
    const double* value = row + columns.first[c];
    const Value p1 = lower[last] * here[c];
    const Value p2 = factors.last_lower2 * Load<Value>(value - 2 * joints);
    const Value p3 = factors.last_lower3 * Load<Value>(value - 3 * joints);
    const Value right_hand_side = Load<Value>(value);
    const Value rest = in_other_panels ? right_hand_side - ((p3 + p2) + p1) : ((right_hand_side - p3) - p2) - p1;
    next[c] = rest * inverse_pivot[last];
  }
  for (std::size_t c = 0; c < Block::kSize; ++c) Store(next[c], row + columns.first[c]);

  std::array<Value, Block::kSize> after2 = next;
  for (Index i = last - 1; i >= 0; --i) {
    row -= joints;
    const bool has_second = i == 0 || i == last - 2;
    const double upper2 = i == 0 ? factors.first_upper2 : factors.tail_upper2;
    for (std::size_t c = 0; c < Block::kSize; ++c) {
      Value rest = Load<Value>(row + columns.first[c]) - upper[i] * next[c];
      if (has_second) rest = rest - upper2 * after2[c];
      after2[c] = next[c];
      next[c] = rest * inverse_pivot[i];
    }
    for (std::size_t c = 0; c < Block::kSize; ++c) Store(next[c], row + columns.first[c]);
  }
}

struct SubstitutionKernel {
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE void Run(const KnotFactors* factors, double* m, Index knots, Index joints) {
    internal::ForEachColumnBlock(joints, [=](const auto& columns) VELMORA_ALWAYS_INLINE_LAMBDA {
      SubstituteColumns(*factors, m, knots, joints, columns);
    });
  }
};

struct NegativeZeroKernel {
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE bool Run(const double* values, Index count) {
    constexpr std::uint64_t kNegativeZero = std::uint64_t{1} << 63U;
    std::uint64_t found = 0;
    for (Index k = 0; k < count; ++k) {
      std::uint64_t bits = 0;
      std::memcpy(&bits, values + k, sizeof bits);
      found |= static_cast<std::uint64_t>(bits == kNegativeZero);
    }
    return found != 0;
  }
};

}  // namespace

void SubstituteKnots(const KnotFactors& factors, Matrix& m) {
  const bool signed_zeros = internal::RunKernel<NegativeZeroKernel>(m.data(), m.size());
  ExchangeRows(factors, m);
  if (signed_zeros) {
    // A product with a zero of the factors is a signed zero, and decides the sign of an element that is -0.
    SubstituteInPanels(factors, KnotFactors::kReach, m);
  } else {
    internal::RunKernel<SubstitutionKernel>(&factors, m.data(), m.rows(), m.cols());
  }
}

}  // namespace velmora::util::timing
