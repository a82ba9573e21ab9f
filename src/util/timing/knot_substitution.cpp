// Forward and back substitution with the factors of the spline's system.
#include "util/timing/knot_substitution.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "native/cpu_dispatch.hpp"
#include "native/row_lanes.hpp"

namespace velmora::util::timing {
namespace {

using Eigen::Index;
using native::Load;
using native::Store;

constexpr Index kPanel = 4;

void ExchangeRows(const KnotFactors& factors, Matrix& m) {
  const Index last = m.rows() - 1;
  if (factors.first_exchanged) m.row(0).swap(m.row(1));
  if (factors.last_exchanged) m.row(last - 2).swap(m.row(last));
}

// The substitutions with the entries that are not zero, for the joints of one block of columns. They walk down and up
// the rows with the row before at hand, since a row just stored is slow to load again. Where two products meet in one
// element their order follows the panels; that matters in the last row alone, elsewhere one of the terms is zero or
// both are in one panel.
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
    native::ForEachColumnBlock(joints, [=](const auto& columns) VELMORA_ALWAYS_INLINE_LAMBDA {
      SubstituteColumns(*factors, m, knots, joints, columns);
    });
  }
};

double LowerEntry(const KnotFactors& factors, Index i, Index c) {
  const Index last = factors.lower.size() - 1;
  if (c == i - 1) return factors.lower[i];
  if (i == last && c == i - 2) return factors.last_lower2;
  if (i == last && c == i - 3 && factors.last_exchanged) return factors.last_lower3;
  return 0.0 * factors.inverse_pivot[c];  // zero divided by the pivot: it has the pivot's sign
}

double UpperEntry(const KnotFactors& factors, Index i, Index c) {
  if (c == i + 1) return factors.upper[i];
  if (i == 0 && c == 2) return factors.first_upper2;
  if (i == factors.upper.size() - 3 && c == i + 2) return factors.tail_upper2;
  return 0.0;
}

// The back substitution goes in blocks from the end, each with its panels counted from its start: the number of
// unknowns in a block, as Eigen chooses it for a first-level cache of 32 KiB. The block decides the sign of zeros only;
// it is held constant here so that a result does not depend on the cache of the machine.
Index BackSubstitutionBlock(Index knots) {
  constexpr Index kLargest = 120;
  constexpr Index kStep = 8;
  if (knots <= kLargest) return knots;
  const Index rest = knots % kLargest;
  if (rest == 0) return kLargest;
  return kLargest - kStep * ((kLargest - 1 - rest) / (kStep * (knots / kLargest + 1)));
}

// row[i] -= factor(c) * row[c] for all c, of which `others` lie in other panels and `within` in the panel of i.
template <typename Entry>
void SubtractProducts(Matrix& m, Index i, Index others_begin, Index others_end, Index within_begin, Index within_end,
                      Entry entry) {
  for (Index j = 0; j < m.cols(); ++j) {
    if (others_begin < others_end) {
      double sum = 0.0;
      for (Index c = others_begin; c < others_end; ++c) sum += entry(c) * m(c, j);
      m(i, j) -= sum;
    }
    for (Index c = within_begin; c < within_end; ++c) m(i, j) -= entry(c) * m(c, j);
  }
}

// As the kernel, but with the zeros that share a panel with an element: a product with one of them is a signed zero,
// and it decides the sign of an element that is itself a negative zero.
void SubstituteWithSignedZeros(const KnotFactors& factors, Matrix& m) {
  const Index knots = m.rows();
  for (Index i = 1; i < knots; ++i) {
    const Index panel = i - i % kPanel;
    SubtractProducts(m, i, std::max<Index>(i - 3, 0), panel, panel, i,
                     [&](Index c) { return LowerEntry(factors, i, c); });
  }
  const Index block = BackSubstitutionBlock(knots);
  for (Index i = knots - 1; i >= 0; --i) {
    const Index block_end = knots - (knots - 1 - i) / block * block;
    const Index block_begin = std::max<Index>(block_end - block, 0);
    const Index panel = block_begin + (i - block_begin) / kPanel * kPanel;
    const Index panel_end = std::min(panel + kPanel, block_end);
    SubtractProducts(m, i, panel_end, std::min(i + 3, knots), i + 1, panel_end,
                     [&](Index c) { return UpperEntry(factors, i, c); });
    m.row(i) *= factors.inverse_pivot[i];
  }
}

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
  const bool signed_zeros = native::RunKernel<NegativeZeroKernel>(m.data(), m.size());
  ExchangeRows(factors, m);
  if (signed_zeros) {
    SubstituteWithSignedZeros(factors, m);
  } else {
    native::RunKernel<SubstitutionKernel>(&factors, m.data(), m.rows(), m.cols());
  }
}

}  // namespace velmora::util::timing
