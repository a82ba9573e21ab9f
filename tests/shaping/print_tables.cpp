// Prints the tables of docs/reference/shapers.md and the figures of docs/explanations/shaping_trades_time_for_calm.md.
//   velmora_shaper_tables undamped | damped | specified | path
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstdio>
#include <optional>
#include <string_view>
#include <vector>

#include "shaping/flexible_arm.hpp"
#include "velmora/shaping/analysis.hpp"
#include "velmora/shaping/designs.hpp"
#include "velmora/shaping/shape_trajectory.hpp"

namespace {

using namespace velmora::shaping;
using velmora::native::Matrix;

constexpr double kTolerance = 0.05;

struct NamedDesign {
  const char* name;
  const char* published_duration;
  const char* published_insensitivity;
  ImpulseSequence (*design)(const VibrationMode&);
};

ImpulseSequence EiOf(const VibrationMode& mode) { return Ei(mode, kTolerance); }
ImpulseSequence TwoHumpEiOf(const VibrationMode& mode) { return TwoHumpEi(mode, kTolerance); }
ImpulseSequence ThreeHumpEiOf(const VibrationMode& mode) { return ThreeHumpEi(mode, kTolerance); }

const NamedDesign kDesigns[] = {
    {"ZV", "0.5", "0.064", Zv},
    {"MZV", "0.75", "0.10", Mzv},
    {"ZVD", "1", "0.287", Zvd},
    {"EI", "1", "0.399", EiOf},
    {"ZVDD", "1.5", "0.480", Zvdd},
    {"two-hump EI", "1.5", "0.72", TwoHumpEiOf},
    {"three-hump EI", "2", "0.96", ThreeHumpEiOf},
    {"UM-ZV", "0.333", "0.055", UmZv},
    {"UM-ZVD", "-", "-", UmZvd},
};

void PrintResiduals(const ImpulseSequence& sequence, double damping_ratio) {
  for (const int percent : {-20, -10, -5, 5, 10, 20}) {
    std::printf(" %.4f |", ResidualVibration(sequence, VibrationMode(1.0 + percent / 100.0, damping_ratio)));
  }
}

void PrintUndamped() {
  std::printf(
      "| design | duration / T | published | 5 %% insensitivity | published | residual at -20 %% | -10 %% | -5 %% "
      "| +5 %% | +10 %% | +20 %% |\n|---|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|\n");
  const VibrationMode mode(1.0, 0.0);
  for (const NamedDesign& named : kDesigns) {
    const ImpulseSequence sequence = named.design(mode);
    std::printf("| %s | %.3f | %s | %.3f | %s |", named.name, sequence.duration_s(), named.published_duration,
                Insensitivity(sequence, mode, kTolerance).width, named.published_insensitivity);
    PrintResiduals(sequence, 0.0);
    std::printf("\n");
  }
}

void PrintDamped() {
  std::printf(
      "| damping | design | duration / T | lag / T | 5 %% insensitivity | band / f | residual at -20 %% | -10 %% "
      "| -5 %% | +5 %% | +10 %% | +20 %% |\n|--:|---|--:|--:|--:|---|--:|--:|--:|--:|--:|--:|\n");
  for (const double damping_ratio : {0.05, 0.1, 0.2}) {
    const VibrationMode mode(1.0, damping_ratio);
    for (const NamedDesign& named : kDesigns) {
      const ImpulseSequence sequence = named.design(mode);
      const InsensitivityBand band = Insensitivity(sequence, mode, kTolerance);
      std::printf("| %.2f | %s | %.3f | %.3f | %.3f | %.3f to %.3f |", damping_ratio, named.name, sequence.duration_s(),
                  sequence.centroid_s(), band.width, band.low_hz, band.high_hz);
      PrintResiduals(sequence, damping_ratio);
      std::printf("\n");
    }
  }
}

void PrintSpecified() {
  std::printf("| range / f | duration / T, damping 0 | 0.05 | 0.1 | 0.2 |\n|---|--:|--:|--:|--:|\n");
  for (const double half_width : {0.025, 0.05, 0.1, 0.2, 0.3, 0.4}) {
    std::printf("| %.3f to %.3f |", 1.0 - half_width, 1.0 + half_width);
    for (const double damping_ratio : {0.0, 0.05, 0.1, 0.2}) {
      const VibrationMode mode(1.0, damping_ratio);
      std::printf(" %.3f |", SpecifiedInsensitivity(mode, 1.0 - half_width, 1.0 + half_width, kTolerance).duration_s());
    }
    std::printf("\n");
  }
}

// A quarter circle of two joints in 0.4 s, shaped joint by joint or along its path parameter.
velmora::native::ShapedTrajectory CommandAlongArc(const Matrix& angle, const Matrix& rate, const Matrix& acceleration,
                                                  const Vector& time) {
  velmora::native::ShapedTrajectory command{Matrix(angle.rows(), 2), Matrix(angle.rows(), 2), Matrix(angle.rows(), 2),
                                            time};
  for (Eigen::Index i = 0; i < angle.rows(); ++i) {
    const double c = std::cos(angle(i, 0));
    const double s = std::sin(angle(i, 0));
    const double v = rate(i, 0);
    const double a = acceleration(i, 0);
    command.positions.row(i) << c, s;
    command.velocities.row(i) << -s * v, c * v;
    command.accelerations.row(i) << -s * a - c * v * v, c * a - s * v * v;
  }
  return command;
}

velmora::util::timing::JointTrajectory WithDerivatives(const velmora::native::ShapedTrajectory& command) {
  return {command.positions, command.velocities, command.accelerations, command.time, std::nullopt, std::nullopt};
}

void PrintPath() {
  constexpr Eigen::Index kSteps = 800;
  constexpr double kDuration_s = 0.4;
  const velmora::testing::ArmMode arm{5.0, 0.02};
  Matrix angle(kSteps + 1, 1);
  Matrix rate(kSteps + 1, 1);
  Matrix acceleration(kSteps + 1, 1);
  Vector time(kSteps + 1);
  for (Eigen::Index i = 0; i <= kSteps; ++i) {
    const double x = static_cast<double>(i) / kSteps;
    time[i] = kDuration_s * x;
    angle(i, 0) = 0.5 * M_PI * x * x * x * (10.0 + x * (-15.0 + x * 6.0));
    rate(i, 0) = 0.5 * M_PI * 30.0 * x * x * (1.0 - x) * (1.0 - x) / kDuration_s;
    acceleration(i, 0) = 0.5 * M_PI * 60.0 * x * (1.0 - x) * (1.0 - 2.0 * x) / (kDuration_s * kDuration_s);
  }
  const double step_s = kDuration_s / kSteps;
  const auto linear = velmora::util::timing::ResamplingMethod::linear;
  const velmora::native::ShapedTrajectory raw = CommandAlongArc(angle, rate, acceleration, time);
  const double left_raw = velmora::testing::ResidualAmplitudes(arm, raw).maxCoeff();
  std::printf(
      "| shaper | joints shaped: residual | leaves the path by | path parameter shaped: residual "
      "| leaves the path by |\n|---|--:|--:|--:|--:|\n| none | 100 %% | 0.0000 | 100 %% | 0.0000 |\n");
  for (const NamedDesign& named : {kDesigns[0], kDesigns[2]}) {
    const ImpulseSequence sequence = named.design(VibrationMode(arm.frequency_hz, arm.damping_ratio));
    const ShapedCommand joints = ShapeTrajectory(WithDerivatives(raw), {sequence}, step_s, linear);
    const velmora::native::ShapedTrajectory parameter = JoinMoveAndTail(
        ShapeTrajectory({angle, rate, acceleration, time, std::nullopt, std::nullopt}, {sequence}, step_s, linear));
    const velmora::native::ShapedTrajectory along =
        CommandAlongArc(parameter.positions, parameter.velocities, parameter.accelerations, parameter.time);
    const auto percent = [&](const velmora::native::ShapedTrajectory& command) {
      return 100.0 * velmora::testing::ResidualAmplitudes(arm, command).maxCoeff() / left_raw;
    };
    double off_circle = 0.0;
    for (Eigen::Index i = 0; i < along.time.size(); ++i) {
      off_circle = std::max(off_circle, std::abs(along.positions.row(i).norm() - 1.0));
    }
    std::printf("| %s | %.1f %% | %.4f | %.1f %% | %.4f |\n", named.name, percent(JoinMoveAndTail(joints)),
                PathDeviation(WithDerivatives(raw), joints), percent(along), off_circle);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view table = argc == 2 ? argv[1] : "";
  if (table == "undamped") {
    PrintUndamped();
  } else if (table == "damped") {
    PrintDamped();
  } else if (table == "specified") {
    PrintSpecified();
  } else if (table == "path") {
    PrintPath();
  } else {
    std::fprintf(stderr, "usage: velmora_shaper_tables undamped | damped | specified | path\n");
    return 2;
  }
  return 0;
}
