// Comparison of arrays bit by bit.
// SPDX-License-Identifier: Apache-2.0
#include "support/compare_bits.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <ios>
#include <sstream>

namespace velmora::testing {
namespace {

using ::testing::AssertionFailure;
using ::testing::AssertionResult;
using ::testing::AssertionSuccess;

std::uint64_t BitsOf(double x) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &x, sizeof bits);
  return bits;
}

// Maps doubles to integers in their order, so that neighbours differ by 1 and the two zeros by 1 as well.
std::uint64_t OrderedBits(double x) {
  constexpr std::uint64_t kSign = 0x8000000000000000U;
  const std::uint64_t bits = BitsOf(x);
  return (bits & kSign) != 0 ? ~bits : bits | kSign;
}

AssertionResult Differ(long long sample, long long joint, double expected, double actual) {
  std::ostringstream text;
  text << "first difference at sample " << sample << ", joint " << joint << ": expected " << std::hexfloat << expected
       << ", actual " << actual << std::defaultfloat << " (" << UlpDistance(expected, actual) << " ulp)";
  return AssertionFailure() << text.str();
}

AssertionResult CompareShapes(long long rows, long long cols, const native::Matrix& actual) {
  if (rows == actual.rows() && cols == actual.cols()) return AssertionSuccess();
  return AssertionFailure() << "expected shape " << rows << " x " << cols << ", actual " << actual.rows() << " x "
                            << actual.cols();
}

AssertionResult CompareVectors(const double* expected, long long size, const native::Vector& actual) {
  if (size != actual.size()) return AssertionFailure() << "expected length " << size << ", actual " << actual.size();
  for (Eigen::Index i = 0; i < actual.size(); ++i) {
    if (!SameBits(expected[i], actual[i])) return Differ(i, 0, expected[i], actual[i]);
  }
  return AssertionSuccess();
}

AssertionResult CompareMatrices(const double* expected, long long rows, long long cols, const native::Matrix& actual) {
  const AssertionResult same_shape = CompareShapes(rows, cols, actual);
  if (!same_shape) return same_shape;
  for (Eigen::Index k = 0; k < actual.size(); ++k) {
    const double value = actual.data()[k];
    if (!SameBits(expected[k], value)) return Differ(k / cols, k % cols, expected[k], value);
  }
  return AssertionSuccess();
}

}  // namespace

bool SameBits(double a, double b) { return BitsOf(a) == BitsOf(b) || (std::isnan(a) && std::isnan(b)); }

double UlpDistance(double a, double b) {
  const std::uint64_t x = OrderedBits(a);
  const std::uint64_t y = OrderedBits(b);
  return static_cast<double>(x > y ? x - y : y - x);
}

AssertionResult SameBits(const native::Matrix& expected, const native::Matrix& actual) {
  return CompareMatrices(expected.data(), expected.rows(), expected.cols(), actual);
}

AssertionResult SameBits(const native::Vector& expected, const native::Vector& actual) {
  return CompareVectors(expected.data(), expected.size(), actual);
}

AssertionResult SameBits(const oracle::Table& expected, const native::Matrix& actual) {
  return CompareMatrices(expected.values.data(), static_cast<long long>(expected.rows),
                         static_cast<long long>(expected.cols), actual);
}

AssertionResult SameBits(const std::vector<double>& expected, const native::Vector& actual) {
  return CompareVectors(expected.data(), static_cast<long long>(expected.size()), actual);
}

AssertionResult SameBitsIfFinite(const native::Matrix& expected, const native::Matrix& actual) {
  if (!expected.allFinite() && !actual.allFinite()) return CompareShapes(expected.rows(), expected.cols(), actual);
  return SameBits(expected, actual);
}

AssertionResult SameBitsIfFinite(const oracle::Table& expected, const native::Matrix& actual) {
  native::Matrix matrix(static_cast<Eigen::Index>(expected.rows), static_cast<Eigen::Index>(expected.cols));
  std::copy(expected.values.begin(), expected.values.end(), matrix.data());
  return SameBitsIfFinite(matrix, actual);
}

AssertionResult IsNear(const native::Matrix& expected, const native::Matrix& actual, double tolerance) {
  const AssertionResult same_shape = CompareShapes(expected.rows(), expected.cols(), actual);
  if (!same_shape) return same_shape;
  for (Eigen::Index i = 0; i < actual.rows(); ++i) {
    for (Eigen::Index j = 0; j < actual.cols(); ++j) {
      const double error = std::abs(actual(i, j) - expected(i, j));
      if (!(error <= tolerance)) {
        return Differ(i, j, expected(i, j), actual(i, j)) << ", off by " << error << ", allowed " << tolerance;
      }
    }
  }
  return AssertionSuccess();
}

}  // namespace velmora::testing
