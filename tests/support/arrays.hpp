// Short ways to write arrays in tests and to convert them for the reference.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <initializer_list>
#include <limits>
#include <vector>

#include "oracle/table.hpp"
#include "velmora/native/array_types.hpp"

namespace velmora::testing {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kLargest = std::numeric_limits<double>::max();
constexpr double kSmallest = std::numeric_limits<double>::denorm_min();
constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

inline native::Vector Values(std::initializer_list<double> values) {
  native::Vector vector(static_cast<Eigen::Index>(values.size()));
  Eigen::Index i = 0;
  for (const double value : values) vector[i++] = value;
  return vector;
}

/// All rows must have the same length.
inline native::Matrix Rows(std::initializer_list<std::initializer_list<double>> rows) {
  const std::size_t cols = rows.size() == 0 ? 0 : rows.begin()->size();
  native::Matrix matrix(static_cast<Eigen::Index>(rows.size()), static_cast<Eigen::Index>(cols));
  double* next = matrix.data();
  for (const std::initializer_list<double>& row : rows) {
    for (const double value : row) *next++ = value;
  }
  return matrix;
}

inline native::Matrix Column(const native::Vector& values) { return values; }

inline oracle::Table ToTable(const native::Matrix& matrix) {
  oracle::Table table(static_cast<std::size_t>(matrix.rows()), static_cast<std::size_t>(matrix.cols()));
  for (std::size_t k = 0; k < table.values.size(); ++k) table.values[k] = matrix.data()[k];
  return table;
}

inline std::vector<double> ToStd(const native::Vector& vector) {
  return std::vector<double>(vector.data(), vector.data() + vector.size());
}

}  // namespace velmora::testing
