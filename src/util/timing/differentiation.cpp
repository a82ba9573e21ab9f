// Forward differences that keep one row per sample.
#include "velmora/util/timing/differentiation.hpp"

#include "native/finiteness.hpp"
#include "native/throw_invalid_argument.hpp"

namespace velmora::util::timing {
namespace {

// Row `i` of the result: a division by the step, since multiplying by its reciprocal would round differently.
void DivideDifference(const Matrix& signal, Eigen::Index i, double step, Matrix& difference) {
  const Eigen::Index joints = signal.cols();
  const double* before = signal.data() + i * joints;
  const double* after = before + joints;
  double* result = difference.data() + i * joints;
  for (Eigen::Index j = 0; j < joints; ++j) result[j] = (after[j] - before[j]) / step;
}

void RepeatLastDifference(Matrix& difference) {
  const Eigen::Index last = difference.rows() - 1;
  difference.row(last) = difference.row(last - 1);
}

}  // namespace

Matrix SampleAlignedFirstDifference(const Matrix& signal, double sample_spacing) {
  const Eigen::Index samples = signal.rows();
  if (samples == 1) return Matrix::Zero(1, signal.cols());
  if (!native::IsFinite(sample_spacing) || sample_spacing <= 0.0) {
    native::ThrowInvalidArgument("sample_spacing must be finite and positive.");
  }
  Matrix difference(samples, signal.cols());
  if (samples == 0) return difference;

  for (Eigen::Index i = 0; i + 1 < samples; ++i) DivideDifference(signal, i, sample_spacing, difference);
  RepeatLastDifference(difference);
  return difference;
}

Matrix SampleAlignedFirstDifference(const Matrix& signal, const Vector& sample_spacing) {
  const Eigen::Index samples = signal.rows();
  if (samples == 1) return Matrix::Zero(1, signal.cols());
  if (sample_spacing.size() != samples) {
    native::ThrowInvalidArgument("sample_spacing length must match signal samples.");
  }
  Matrix difference(samples, signal.cols());
  if (samples == 0) return difference;

  for (Eigen::Index i = 0; i + 1 < samples; ++i) {
    const double step = sample_spacing[i + 1] - sample_spacing[i];
    if (!native::IsFinite(step) || step <= 0.0) {
      native::ThrowInvalidArgument("sample_spacing times must be strictly increasing.");
    }
    DivideDifference(signal, i, step, difference);
  }
  RepeatLastDifference(difference);
  return difference;
}

}  // namespace velmora::util::timing
