// Comparison of arrays bit by bit.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "oracle/table.hpp"
#include "velmora/native/array_types.hpp"

namespace velmora::testing {

/// True for equal bit patterns and for two NaNs of any pattern; so -0.0 differs from +0.0.
bool SameBits(double a, double b);

/// Number of doubles from `a` to `b`, 0 for equal bits; meaningful for two numbers that are not NaN.
double UlpDistance(double a, double b);

/// Equal shapes and bits; otherwise the first sample and joint that differ, both values and their distance.
::testing::AssertionResult SameBits(const native::Matrix& expected, const native::Matrix& actual);
::testing::AssertionResult SameBits(const native::Vector& expected, const native::Vector& actual);
::testing::AssertionResult SameBits(const oracle::Table& expected, const native::Matrix& actual);
::testing::AssertionResult SameBits(const std::vector<double>& expected, const native::Vector& actual);

/// As `SameBits`, but where neither is finite: which value stands for an overflow is not promised.
::testing::AssertionResult SameBitsIfFinite(const native::Matrix& expected, const native::Matrix& actual);
::testing::AssertionResult SameBitsIfFinite(const oracle::Table& expected, const native::Matrix& actual);

/// Equal shapes and every difference at most `tolerance`.
::testing::AssertionResult IsNear(const native::Matrix& expected, const native::Matrix& actual, double tolerance);

}  // namespace velmora::testing
