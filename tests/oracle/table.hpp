// Rows of numbers without any matrix library, so that the reference shares no arithmetic with what it judges.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <vector>

namespace velmora::oracle {

/// A rectangular table stored row after row: one row per sample, one column per joint; either count may be 0.
struct Table {
  std::size_t rows = 0;
  std::size_t cols = 0;
  std::vector<double> values;

  Table() = default;
  Table(std::size_t row_count, std::size_t col_count, double value = 0.0)
      : rows(row_count), cols(col_count), values(row_count * col_count, value) {}

  double& operator()(std::size_t row, std::size_t col) { return values[row * cols + col]; }
  double operator()(std::size_t row, std::size_t col) const { return values[row * cols + col]; }
};

}  // namespace velmora::oracle
