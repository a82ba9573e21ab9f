// Trajectories whose public fields were moved from or written to: the constructor's sentences instead of a crash.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <exception>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/arrays.hpp"
#include "support/expect_throws.hpp"
#include "support/generator.hpp"
#include "velmora/util/timing/resampling.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::util::timing {
namespace {

using testing::ExpectInvalidArgument;
using testing::kInfinity;
using testing::kNan;
using testing::Values;

constexpr char kNoSample[] =
    "JointTrajectory requires at least 1 sample to support velocity and acceleration evaluation, got 0.";
constexpr char kAlign[] = "JointTrajectory.positions must align with JointTrajectory.time.";

JointTrajectory FourSamples() { return TrajectoryAtSpacing(Matrix::Random(4, 2), 1.0); }

JointTrajectory Resample(const JointTrajectory& trajectory, ResamplingMethod method, bool strict) {
  return ResampleTrajectory(trajectory, 0.5, method, ResamplingTimeGridMode::exact_dt_append_endpoint, strict);
}

// Every routine that reads a trajectory, on one without computed derivatives.
void ExpectEverywhere(const JointTrajectory& trajectory, const std::string& message) {
  ExpectInvalidArgument([&] { trajectory.velocities(); }, message);
  ExpectInvalidArgument([&] { trajectory.accelerations(); }, message);
  ExpectInvalidArgument([&] { trajectory.jerks(); }, message);
  ExpectInvalidArgument([&] { trajectory.Copy(); }, message);
  ExpectInvalidArgument([&] { SampleTrajectoryAtTimes(trajectory, Vector(), false); }, message);
  ExpectInvalidArgument([&] { SampleTrajectoryAtTimes(trajectory, Values({0.5}), false); }, message);
  ExpectInvalidArgument([&] { SampleTrajectoryAtTimes(trajectory, Values({0.5}), true); }, message);
  for (const bool strict : {false, true}) {
    ExpectInvalidArgument([&] { Resample(trajectory, ResamplingMethod::linear, strict); }, message);
    ExpectInvalidArgument([&] { Resample(trajectory, ResamplingMethod::cubic, strict); }, message);
  }
}

TEST(TrajectoryMisuse, TellsThatAMovedFromTrajectoryHasNoSample) {
  JointTrajectory from = FourSamples();
  const JointTrajectory to = std::move(from);
  ExpectEverywhere(from, kNoSample);  // NOLINT(bugprone-use-after-move): what this test is about
  EXPECT_EQ(to.velocities().rows(), 4);
}

TEST(TrajectoryMisuse, TellsThatAMovedFromTrajectoryWithDerivativesHasNoSample) {
  JointTrajectory from = FourSamples();
  from.jerks();
  const JointTrajectory to = std::move(from);
  ExpectEverywhere(from, kNoSample);  // NOLINT(bugprone-use-after-move): what this test is about
}

// Eigen's arrays are exchanged, and derivatives that the target did not have leave none behind.
TEST(TrajectoryMisuse, TellsThatDerivativesDoNotFitWhatMoveAssignmentLeaves) {
  JointTrajectory from = FourSamples();
  from.velocities();
  JointTrajectory to = TrajectoryAtSpacing(Matrix::Random(3, 2), 1.0);
  to = std::move(from);
  EXPECT_EQ(to.velocities().rows(), 4);
  EXPECT_THROW(from.velocities(), native::InvalidArgumentError);  // NOLINT(bugprone-use-after-move): what it is about
}

TEST(TrajectoryMisuse, TellsThatTimesDoNotFitWrittenPositions) {
  for (const Eigen::Index samples : {1, 3, 5, 4000}) {
    JointTrajectory trajectory = FourSamples();
    trajectory.positions = Matrix::Zero(samples, 2);
    ExpectEverywhere(trajectory, kAlign);
  }
}

TEST(TrajectoryMisuse, TellsThatWrittenTimesDoNotFitPositions) {
  for (const Eigen::Index samples : {0, 1, 3, 5, 4000}) {
    JointTrajectory trajectory = FourSamples();
    trajectory.time = Vector::LinSpaced(samples, 0.0, 1.0);
    ExpectEverywhere(trajectory, kAlign);
  }
}

TEST(TrajectoryMisuse, LooksForSamplesBeforeItComparesTimes) {
  JointTrajectory trajectory = FourSamples();
  trajectory.positions.resize(0, 2);
  ExpectEverywhere(trajectory, kNoSample);
}

TEST(TrajectoryMisuse, TellsThatDerivativesDoNotFitWrittenPositions) {
  const std::string velocities = "JointTrajectory.velocities must match JointTrajectory.positions shape.";
  const std::string accelerations = "JointTrajectory.accelerations must match JointTrajectory.positions shape.";
  for (const auto& [samples, joints] : {std::pair<Eigen::Index, Eigen::Index>{6, 2}, {4, 3}, {2, 1}}) {
    const auto rewrite = [samples = samples, joints = joints](JointTrajectory& trajectory) {
      trajectory.positions = Matrix::Ones(samples, joints);
      trajectory.time = Vector::LinSpaced(samples, 0.0, 3.0);
    };
    JointTrajectory one_derivative = FourSamples();
    one_derivative.velocities();
    rewrite(one_derivative);
    ExpectInvalidArgument([&] { one_derivative.velocities(); }, velocities);
    ExpectInvalidArgument([&] { one_derivative.accelerations(); }, velocities);
    ExpectInvalidArgument([&] { one_derivative.jerks(); }, velocities);
    ExpectInvalidArgument([&] { one_derivative.Copy(); }, velocities);
    ExpectInvalidArgument([&] { SampleTrajectoryAtTimes(one_derivative, Values({0.5}), true); }, velocities);
    EXPECT_EQ(SampleTrajectoryAtTimes(one_derivative, Values({0.5}), false).positions(0, 0), 1.0);
    EXPECT_EQ(Resample(one_derivative, ResamplingMethod::linear, true).positions(0, 0), 1.0);

    JointTrajectory only_accelerations(Matrix::Zero(4, 2), std::nullopt, Matrix::Zero(4, 2), std::nullopt, 1.0,
                                       std::nullopt);
    rewrite(only_accelerations);
    ExpectInvalidArgument([&] { only_accelerations.jerks(); }, accelerations);
    ExpectInvalidArgument([&] { SampleTrajectoryAtTimes(only_accelerations, Values({0.5}), true); }, accelerations);
  }
}

// Values are not looked at again: whatever comes out, it is a result or an exception.
TEST(TrajectoryMisuse, SurvivesWrittenValues) {
  const std::vector<double> values = {kNan, kInfinity, -kInfinity, 0.0,   -0.0,   0.5,
                                      1.0,  2.0,       -3.0,       1e300, -1e300, 5e-324};
  testing::SplitMix64 generator(20261121);
  const auto any = [&] { return values[generator.Below(values.size())]; };
  int results = 0;
  int exceptions = 0;
  for (int repetition = 0; repetition < 3000; ++repetition) {
    const auto samples = static_cast<Eigen::Index>(1 + generator.Below(9));
    JointTrajectory trajectory = TrajectoryAtSpacing(Matrix::Ones(samples, 3), 1.0);
    for (Eigen::Index i = 0; i < samples; ++i) {
      if (generator.Below(3) != 0) trajectory.time[i] = any();
      if (generator.Below(3) == 0) trajectory.positions(i, 1) = any();
    }
    const auto survive = [&](const auto& call) {
      try {
        call();
        ++results;
      } catch (const std::exception&) {
        ++exceptions;
      }
    };
    survive([&] { trajectory.Copy(); });
    survive([&] { SampleTrajectoryAtTimes(trajectory, Values({any(), any()}), generator.Below(2) == 0); });
    for (const ResamplingMethod method : {ResamplingMethod::linear, ResamplingMethod::cubic}) {
      survive([&] { Resample(trajectory, method, generator.Below(2) == 0); });
    }
    survive([&] { trajectory.jerks(); });
  }
  EXPECT_GT(results, 0);
  EXPECT_GT(exceptions, 0);
}

}  // namespace
}  // namespace velmora::util::timing
