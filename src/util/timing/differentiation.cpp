// Forward differences that keep one row per sample.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/util/timing/differentiation.hpp"

#include "internal/cpu_dispatch.hpp"
#include "internal/finiteness.hpp"
#include "internal/row_lanes.hpp"
#include "internal/throw_invalid_argument.hpp"
#include "internal/unwritten_matrix.hpp"

namespace velmora::util::timing {
namespace {

using Eigen::Index;

// A division by the step, since multiplying by its reciprocal would round differently.
VELMORA_ALWAYS_INLINE void DivideDifference(const double* before, const double* after, double step, Index count,
                                            double* result) {
  internal::ForEachJoint(count, result,
                         [=](auto at) VELMORA_ALWAYS_INLINE_LAMBDA { return (at(after) - at(before)) / step; });
}

struct UniformDifferenceKernel {
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE void Run(const double* x, double step, Index samples, Index joints, double* d) {
    DivideDifference(x, x + joints, step, (samples - 1) * joints, d);
  }
};

// False at the first step that is not finite and positive.
struct TimedDifferenceKernel {
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE bool Run(const double* x, const double* t, Index samples, Index joints, double* d) {
    for (Index i = 0; i + 1 < samples; ++i) {
      const double step = t[i + 1] - t[i];
      if (!internal::IsFinite(step) || step <= 0.0) return false;
      DivideDifference(x + i * joints, x + (i + 1) * joints, step, joints, d + i * joints);
    }
    return true;
  }
};

void RepeatLastDifference(Matrix& difference) {
  const Index last = difference.rows() - 1;
  difference.row(last) = difference.row(last - 1);
}

}  // namespace

Matrix SampleAlignedFirstDifference(const Matrix& signal, double sample_spacing) {
  const Index samples = signal.rows();
  if (samples == 1) return Matrix::Zero(1, signal.cols());
  if (!internal::IsFinite(sample_spacing) || sample_spacing <= 0.0) {
    internal::ThrowInvalidArgument("sample_spacing must be finite and positive.");
  }
  Matrix difference = internal::UnwrittenMatrix(samples, signal.cols());
  if (samples == 0) return difference;

  internal::RunKernel<UniformDifferenceKernel>(signal.data(), sample_spacing, samples, signal.cols(),
                                               difference.data());
  RepeatLastDifference(difference);
  return difference;
}

Matrix SampleAlignedFirstDifference(const Matrix& signal, const Vector& sample_spacing) {
  const Index samples = signal.rows();
  if (samples == 1) return Matrix::Zero(1, signal.cols());
  if (sample_spacing.size() != samples) {
    internal::ThrowInvalidArgument("sample_spacing length must match signal samples.");
  }
  Matrix difference = internal::UnwrittenMatrix(samples, signal.cols());
  if (samples == 0) return difference;

  if (!internal::RunKernel<TimedDifferenceKernel>(signal.data(), sample_spacing.data(), samples, signal.cols(),
                                                  difference.data())) {
    internal::ThrowInvalidArgument("sample_spacing times must be strictly increasing.");
  }
  RepeatLastDifference(difference);
  return difference;
}

}  // namespace velmora::util::timing
