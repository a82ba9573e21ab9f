// Forward and back substitution with LU factors, in a documented order of operations.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>

#include "velmora/native/array_types.hpp"

namespace velmora::util::timing {

using native::Matrix;

/// As many unknowns share a panel. Products with unknowns of other panels are summed first and then subtracted,
/// products with unknowns of the same panel are subtracted one by one.
constexpr Eigen::Index kPanel = 4;

/// The back substitution goes in blocks of as many unknowns from the end, the panels of each counted from its start.
/// The division into blocks is that of a solve in a first-level cache of 32 KiB, held constant so that a result does
/// not depend on the cache of the machine.
inline Eigen::Index BackSubstitutionBlock(Eigen::Index unknowns) {
  constexpr Eigen::Index kLargest = 120;
  constexpr Eigen::Index kStep = 8;
  if (unknowns <= kLargest) return unknowns;
  const Eigen::Index rest = unknowns % kLargest;
  if (rest == 0) return kLargest;
  return kLargest - kStep * ((kLargest - 1 - rest) / (kStep * (unknowns / kLargest + 1)));
}

/// m(i) -= entry(i, c) * m(c) for every c of two ranges, of which `others` lie in other panels and `own` in that of i.
template <typename Entry>
void SubtractProducts(const Entry& entry, Eigen::Index i, Eigen::Index others_begin, Eigen::Index others_end,
                      Eigen::Index own_begin, Eigen::Index own_end, Matrix& m) {
  for (Eigen::Index j = 0; j < m.cols(); ++j) {
    double sum = 0.0;
    for (Eigen::Index c = others_begin; c < others_end; ++c) sum += entry(i, c) * m(c, j);
    m(i, j) -= sum;
    for (Eigen::Index c = own_begin; c < own_end; ++c) m(i, j) -= entry(i, c) * m(c, j);
  }
}

/// Solves L U x = m for every column of `m`, in place. `entry(i, c)` is the multiplier of row c in row i below the
/// diagonal, the reciprocal of the pivot on it, and the entry of U above it; it is 0 further than `reach` from it.
template <typename Entry>
void SubstituteInPanels(const Entry& entry, Eigen::Index reach, Matrix& m) {
  const Eigen::Index unknowns = m.rows();
  for (Eigen::Index i = 1; i < unknowns; ++i) {
    const Eigen::Index panel = i - i % kPanel;
    SubtractProducts(entry, i, std::max<Eigen::Index>(i - reach, 0), panel, panel, i, m);
  }
  const Eigen::Index block = BackSubstitutionBlock(unknowns);
  for (Eigen::Index i = unknowns - 1; i >= 0; --i) {
    const Eigen::Index block_end = unknowns - (unknowns - 1 - i) / block * block;
    const Eigen::Index block_begin = std::max<Eigen::Index>(block_end - block, 0);
    const Eigen::Index panel = block_begin + (i - block_begin) / kPanel * kPanel;
    const Eigen::Index panel_end = std::min(panel + kPanel, block_end);
    SubtractProducts(entry, i, panel_end, std::min(i + reach + 1, unknowns), i + 1, panel_end, m);
    m.row(i) *= entry(i, i);
  }
}

}  // namespace velmora::util::timing
