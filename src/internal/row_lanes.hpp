// Vectors of four doubles, and the loops over the joints of a row in such vectors.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <type_traits>

#include "internal/cpu_dispatch.hpp"
#include "velmora/native/array_types.hpp"

#if defined(__x86_64__) && !defined(__clang__)
#include <immintrin.h>  // declares the built-in function below
#endif

namespace velmora::internal {

/// Four doubles in the vector extension of g++ and clang: every operation is done, and rounded, element by element, in
/// the instructions of the processor that the calling function is compiled for.
using Lanes = double __attribute__((vector_size(4 * sizeof(double))));
constexpr Eigen::Index kLanes = 4;

/// Two doubles, likewise.
using Pair = double __attribute__((vector_size(2 * sizeof(double))));

/// Value at `address`, or the four values from there on.
template <typename Value>
VELMORA_ALWAYS_INLINE Value Load(const double* address) {
  Value value;
  __builtin_memcpy(&value, address, sizeof value);
  return value;
}

template <typename Value>
VELMORA_ALWAYS_INLINE void Store(const Value& value, double* address) {
  __builtin_memcpy(address, &value, sizeof value);
}

/// p * q + r with a single rounding, in a kernel's variant for `Processor`.
template <typename Processor>
VELMORA_ALWAYS_INLINE double Fma(double p, double q, double r) {
  return std::fma(p, q, r);
}

template <typename Processor>
VELMORA_ALWAYS_INLINE Lanes Fma(double p, const Lanes& q, const Lanes& r) {
#if defined(__x86_64__) && !defined(__clang__)
  // g++ does not always see that the four below are one instruction.
  if constexpr (std::is_same_v<Processor, Avx2Processor>) return __builtin_ia32_vfmaddpd256(Lanes{p, p, p, p}, q, r);
#endif
  return Lanes{std::fma(p, q[0], r[0]), std::fma(p, q[1], r[1]), std::fma(p, q[2], r[2]), std::fma(p, q[3], r[3])};
}

/// The square root of each, which is rounded correctly.
template <typename Processor>
VELMORA_ALWAYS_INLINE Lanes Sqrt(const Lanes& x) {
#if defined(__x86_64__) && !defined(__clang__)
  if constexpr (std::is_same_v<Processor, Avx2Processor>) return __builtin_ia32_sqrtpd256(x);
#endif
  return Lanes{std::sqrt(x[0]), std::sqrt(x[1]), std::sqrt(x[2]), std::sqrt(x[3])};
}

/// What a comparison of `Lanes` gives: all bits of a lane, or none.
using LaneMask = decltype(Lanes{} < Lanes{});

template <typename Processor>
VELMORA_ALWAYS_INLINE bool AllOf(const LaneMask& mask) {
#if defined(__x86_64__) && !defined(__clang__)
  if constexpr (std::is_same_v<Processor, Avx2Processor>)
    return __builtin_ia32_movmskpd256(reinterpret_cast<Lanes>(mask)) == 15;
#endif
  return (mask[0] & mask[1] & mask[2] & mask[3]) != 0;
}

/// Tells whether all values looked at were finite, while a kernel has them in registers: `x * 0` is a zero for a finite
/// x, else NaN, and a NaN stays in a sum. Two sums take turns, so that one addition need not wait for the one before.
template <typename Processor>
class FiniteCheck {
 public:
  VELMORA_ALWAYS_INLINE void Look(const Lanes& x, std::size_t turn) {
    // Fused where that is one instruction: a sum of zeros and NaNs is the same either way.
    if constexpr (std::is_same_v<Processor, Avx2Processor>) {
      sums_[turn] = Fma<Processor>(0.0, x, sums_[turn]);
    } else {
      sums_[turn] += x * 0.0;
    }
  }
  VELMORA_ALWAYS_INLINE void Look(double x, std::size_t turn) { scalar_sums_[turn] += x * 0.0; }

  VELMORA_ALWAYS_INLINE bool AllWere() const {
    const Lanes sums = sums_[0] + sums_[1];
    const double sum = ((sums[0] + sums[1]) + (sums[2] + sums[3])) + (scalar_sums_[0] + scalar_sums_[1]);
    return sum == sum;
  }

 private:
  std::array<Lanes, 2> sums_ = {};
  std::array<double, 2> scalar_sums_ = {};
};

/// Reads a row at the joint, or the four joints, that `ForEachJoint` is at.
template <typename Value>
struct RowReader {
  Eigen::Index joint;

  VELMORA_ALWAYS_INLINE Value operator()(const double* row) const { return Load<Value>(row + joint); }
};

/// `result[j] = element(at)` for every joint j, where `at(row)` reads `row[j]`. `element` may read `result` itself at
/// j.
///
/// Rows of four joints or more are taken in vectors. Where the joints are no multiple of four the last vector overlaps
/// the one before: it is computed first and stored last, so every element is computed from what was there before, and
/// the overlap stores the same values twice. `element` is a lambda marked VELMORA_ALWAYS_INLINE_LAMBDA.
template <typename Element>
VELMORA_ALWAYS_INLINE void ForEachJoint(Eigen::Index joints, double* result, const Element& element) {
  if (joints < kLanes) {
    for (Eigen::Index j = 0; j < joints; ++j) result[j] = element(RowReader<double>{j});
    return;
  }
  const Eigen::Index tail = joints - kLanes;
  const Lanes tail_value = element(RowReader<Lanes>{tail});
  if (joints <= 2 * kLanes) {  // the common number of joints, without a loop
    Store(element(RowReader<Lanes>{0}), result);
  } else {
    for (Eigen::Index j = 0; j < tail; j += kLanes) Store(element(RowReader<Lanes>{j}), result + j);
  }
  Store(tail_value, result + tail);
}

/// Columns of a matrix that a kernel walks down together, keeping what it needs of them in registers: one joint, or one
/// or two vectors of four joints side by side.
template <typename ValueType, std::size_t kCount>
struct ColumnBlock {
  using Value = ValueType;
  static constexpr std::size_t kSize = kCount;

  std::array<Eigen::Index, kCount> first;  ///< the joint, or the first of each four
};

/// `work(block)` for column blocks that cover all joints. Where the joints are no multiple of four the two vectors of
/// one block overlap, never two blocks; a kernel that works in place loads all of a block's row before it stores any.
/// `work` is a generic lambda marked VELMORA_ALWAYS_INLINE_LAMBDA.
template <typename Work>
VELMORA_ALWAYS_INLINE void ForEachColumnBlock(Eigen::Index joints, const Work& work) {
  if (joints < kLanes) {
    for (Eigen::Index j = 0; j < joints; ++j) work(ColumnBlock<double, 1>{{j}});
    return;
  }
  for (Eigen::Index j = 0; j < joints;) {
    const Eigen::Index rest = joints - j;
    if (rest == kLanes || (rest > 2 * kLanes && rest < 3 * kLanes)) {
      work(ColumnBlock<Lanes, 1>{{j}});
      j += kLanes;
    } else {
      const Eigen::Index second = std::min(j + kLanes, joints - kLanes);
      work(ColumnBlock<Lanes, 2>{{j, second}});
      j = second + kLanes;
    }
  }
}

}  // namespace velmora::internal
