// Three-point differentiation on uneven sample times.
#include "util/timing/three_point_derivative.hpp"

#include <cmath>

namespace velmora::util::timing {
namespace {

struct Weights {
  double earlier;
  double middle;
  double later;
};

// Derivative weights of the parabola through three samples (Fornberg 1988), at each of the three. `h0` and `h1` are the
// two steps between them. The order of operations is part of the result's promise.
Weights WeightsAtFirst(double h0, double h1) {
  return {-std::fma(2.0, h0, h1) / ((h1 + h0) * h0), (h1 + h0) / (h1 * h0), -h0 / ((h1 + h0) * h1)};
}

Weights WeightsAtMiddle(double hm, double hp) {
  return {-hp / ((hm + hp) * hm), (hp - hm) / (hm * hp), hm / ((hm + hp) * hp)};
}

Weights WeightsAtLast(double b, double a) {
  return {a / ((a + b) * b), -(a + b) / (a * b), std::fma(2.0, a, b) / ((a + b) * a)};
}

// Derivative row from the three rows that start at `rows`: the middle product first, then the earlier, then the later
// term, so that every machine rounds alike.
void CombineRows(const Weights& weights, const double* rows, Eigen::Index joints, double* result) {
  const double* earlier = rows;
  const double* middle = rows + joints;
  const double* later = rows + 2 * joints;
  for (Eigen::Index j = 0; j < joints; ++j) {
    const double sum = std::fma(weights.earlier, earlier[j], weights.middle * middle[j]);
    result[j] = std::fma(weights.later, later[j], sum);
  }
}

}  // namespace

Matrix ThreePointSampleDerivative(const Matrix& signal, const Vector& time) {
  const Eigen::Index samples = signal.rows();
  const Eigen::Index joints = signal.cols();
  Matrix derivative = Matrix::Zero(samples, joints);
  if (samples < 2) return derivative;

  if (samples == 2) {
    const double h = time[1] - time[0];
    for (Eigen::Index j = 0; j < joints; ++j) {
      derivative(0, j) = (signal(1, j) - signal(0, j)) / h;
      derivative(1, j) = derivative(0, j);
    }
    return derivative;
  }

  const double* x = signal.data();
  double* d = derivative.data();
  const Eigen::Index last = samples - 1;
  CombineRows(WeightsAtFirst(time[1] - time[0], time[2] - time[1]), x, joints, d);
  for (Eigen::Index i = 1; i < last; ++i) {
    CombineRows(WeightsAtMiddle(time[i] - time[i - 1], time[i + 1] - time[i]), x + (i - 1) * joints, joints,
                d + i * joints);
  }
  CombineRows(WeightsAtLast(time[last - 1] - time[last - 2], time[last] - time[last - 1]), x + (last - 2) * joints,
              joints, d + last * joints);
  return derivative;
}

}  // namespace velmora::util::timing
