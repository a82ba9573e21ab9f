// Delayed copies of a spline, weighted and summed.
// SPDX-License-Identifier: Apache-2.0
#include "shaping/spline_copies.hpp"

#include <algorithm>
#include <cstddef>
#include <type_traits>

#include "internal/cpu_dispatch.hpp"
#include "internal/row_lanes.hpp"
#include "shaping/add_copy.hpp"
#include "util/timing/time_search.hpp"

namespace velmora::shaping {
namespace {

using Eigen::Index;
using internal::Load;
using internal::Store;
using util::timing::SampleRows;
using util::timing::SplineRows;
using util::timing::SplineSample;

constexpr Index kMostKept = 4096;  // intervals: for seven joints half a megabyte

struct LocateKernel {
  // The intervals of ascending times, looked for from `first` on, and how far the times are into them.
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE void Run(const SplineRows* spline, Index first, Index count, std::int64_t* intervals,
                                        double* times_s) {
    const auto find = [&](double time_s, Index previous) VELMORA_ALWAYS_INLINE_LAMBDA {
      return util::timing::FindInterval(*spline, time_s, previous);
    };
    util::timing::LocateEach<Processor, false>(spline->x, spline->knots - 1, times_s, count, find(times_s[0], first),
                                               intervals, find);
    for (Index r = 0; r < count; ++r) times_s[r] -= spline->x[intervals[r]];
  }
};

struct FormKernel {
  // Interval i's coefficients go to row i modulo `mask` + 1.
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE void Run(const SplineRows* spline, Index begin, Index end, Index mask, double* b,
                                        double* d) {
    internal::ForEachColumnBlock(spline->joints, [&](const auto& columns) VELMORA_ALWAYS_INLINE_LAMBDA {
      using Value = typename std::decay_t<decltype(columns)>::Value;
      for (Index i = begin; i < end; ++i) {
        for (const Index joint : columns.first) {
          const auto divided = util::timing::Divide<Value>(*spline, i, joint);
          const Index at = (i & mask) * spline->joints + joint;
          Store<Value>(divided.b, b + at);
          Store<Value>(divided.d, d + at);
        }
      }
    });
  }
};

// What the copies of a stretch of samples are made of.
struct Located {
  const double* amplitudes;
  Index copies;
  Index stride;
  const std::int64_t* intervals;
  const double* into_interval_s;
  const double* b;
  const double* d;
  Index mask;
};

template <typename Processor, typename Value>
VELMORA_ALWAYS_INLINE SplineSample<Value> SampleOf(const SplineRows& spline, const Located& located, Index at,
                                                   Index joint) {
  const Index i = located.intervals[at];
  const Index kept = (i & located.mask) * spline.joints + joint;
  const auto coefficients =
      util::timing::Complete<Value>(spline, i, joint, {Load<Value>(located.b + kept), Load<Value>(located.d + kept)});
  return util::timing::EvaluateAt<Processor>(coefficients, located.into_interval_s[at]);
}

struct SumKernel {
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE void Run(const SplineRows* spline, const Located* located, Index count,
                                        const SampleRows* sums) {
    const SplineRows rows = *spline;
    const Located from = *located;
    const SampleRows to = *sums;
    internal::ForEachColumnBlock(rows.joints, [&](const auto& columns) VELMORA_ALWAYS_INLINE_LAMBDA {
      using Value = typename std::decay_t<decltype(columns)>::Value;
      for (Index r = 0; r < count; ++r) {
        for (const Index joint : columns.first) {
          const auto first = SampleOf<Processor, Value>(rows, from, r, joint);
          SplineSample<Value> sum = first;
          for (Index k = 1; k < from.copies; ++k) {
            const auto copy = SampleOf<Processor, Value>(rows, from, k * from.stride + r, joint);
            const double amplitude = from.amplitudes[k];
            sum = {AddCopy(sum.value, amplitude, copy.value, first.value),
                   AddCopy(sum.first_derivative, amplitude, copy.first_derivative, first.first_derivative),
                   AddCopy(sum.second_derivative, amplitude, copy.second_derivative, first.second_derivative)};
          }
          util::timing::StoreSample(sum, to, r * rows.joints + joint);
        }
      }
    });
  }
};

}  // namespace

SplineCopies::SplineCopies(const SplineRows& spline, const ImpulseSequence& sequence, Index samples)
    : spline_(spline),
      sequence_(sequence),
      stride_(samples),
      intervals_(static_cast<std::size_t>(sequence.times_s.size() * samples)),
      into_interval_s_(sequence.times_s.size() * samples) {}

bool SplineCopies::Sum(const double* times_s, Index count, const SampleRows& sums) {
  Locate(times_s, count);
  if (!FormCoefficients(count)) return false;
  const Located located{sequence_.amplitudes.data(),
                        sequence_.times_s.size(),
                        stride_,
                        intervals_.data(),
                        into_interval_s_.data(),
                        b_.data(),
                        d_.data(),
                        b_.rows() - 1};
  internal::RunKernel<SumKernel>(&spline_, &located, count, &sums);
  return true;
}

void SplineCopies::Locate(const double* times_s, Index count) {
  for (Index k = 0; k < sequence_.times_s.size(); ++k) {
    const Index at = k * stride_;
    for (Index r = 0; r < count; ++r) into_interval_s_[at + r] = times_s[r] - sequence_.times_s[k];
    std::int64_t* const intervals = intervals_.data() + at;
    // Where this copy ended in the stretch before, or anywhere.
    internal::RunKernel<LocateKernel>(&spline_, Index{intervals[stride_ - 1]}, count, intervals,
                                      into_interval_s_.data() + at);
  }
}

bool SplineCopies::FormCoefficients(Index count) {
  const Index copies = sequence_.times_s.size();
  const Index begin = intervals_[static_cast<std::size_t>((copies - 1) * stride_)];
  const Index last = intervals_[static_cast<std::size_t>(count - 1)];
  const Index end = std::max(begin, last) + 1;  // before `begin` only where times were overwritten
  const Index passed = last - intervals_[0];
  if (end - begin > kMostKept || passed > copies * count) return false;
  if (end - begin > b_.rows()) {
    Index rows = 16;
    while (rows < end - begin) rows *= 2;
    // Zeros, as times that were overwritten may ask for what was never formed. Made apart and moved: a matrix that
    // memory runs out for while it is resized frees what it held twice.
    b_ = native::Matrix(native::Matrix::Zero(rows, spline_.joints));
    d_ = native::Matrix(b_);
    formed_end_ = begin;
  }
  formed_end_ = std::max(formed_end_, begin);  // what all copies have passed is not asked for again
  if (end > formed_end_) {
    internal::RunKernel<FormKernel>(&spline_, formed_end_, end, b_.rows() - 1, b_.data(), d_.data());
    formed_end_ = end;
  }
  return true;
}

}  // namespace velmora::shaping
