// The code of the guide's page on linear and cubic interpolation.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <velmora/util/timing/resampling.hpp>

#include "guide_support.hpp"

namespace {

using namespace velmora::util::timing;

constexpr auto append = ResamplingTimeGridMode::exact_dt_append_endpoint;
constexpr auto extend = ResamplingTimeGridMode::exact_dt_extend_endpoint;

TEST(GuideInterpolation, SamplesAtGivenTimes) {
  //! [sample]
  const JointTrajectory move =
      TrajectoryAtTimes(Matrix{{0.0, 10.0}, {1.0, 20.0}, {3.0, 20.0}}, Vector{{0.0, 0.5, 1.0}});

  const JointTrajectory at = SampleTrajectoryAtTimes(move, Vector{{0.25, 0.5, 1.0}}, false);
  EXPECT_EQ(at.positions, (Matrix{{0.5, 15.0}, {1.0, 20.0}, {3.0, 20.0}}));

  EXPECT_EQ(MessageOf([&] {
              SampleTrajectoryAtTimes(move, Vector{{0.5, 1.0000001}}, false);
            }),
            "query_time_s must lie inside trajectory.time.");
  EXPECT_EQ(MessageOf([&] {
              SampleTrajectoryAtTimes(move, Vector{{0.5, 0.25}}, false);
            }),
            "JointTrajectory.time must be strictly increasing.");
  EXPECT_EQ(SampleTrajectoryAtTimes(move, Vector(), false).positions, move.positions);  // no query: a copy
  //! [sample]
}

TEST(GuideInterpolation, SamplesDerivativesOfTheSource) {
  //! [derivatives]
  const Matrix measured{{4.0}, {8.0}};
  const JointTrajectory move(Matrix{{0.0}, {1.0}}, measured, std::nullopt, std::nullopt, 1.0, std::nullopt);
  const Vector query{{0.25, 0.75}};

  const JointTrajectory with = SampleTrajectoryAtTimes(move, query, true);
  EXPECT_EQ(with.velocities(), (Matrix{{5.0}, {7.0}}));  // between the source's velocities

  const JointTrajectory without = SampleTrajectoryAtTimes(move, query, false);
  EXPECT_EQ(without.velocities(), (Matrix{{1.0}, {1.0}}));  // from the sampled positions
  //! [derivatives]
}

TEST(GuideInterpolation, CubicReproducesACubic) {
  //! [cubic]
  const Vector time{{0.0, 0.5, 1.0, 2.0}};
  const JointTrajectory cube = TrajectoryAtTimes(time.array().cube().matrix(), time);

  const JointTrajectory fine = ResampleTrajectory(cube, 0.25, ResamplingMethod::cubic, append, true);
  const auto t = fine.time.array();
  EXPECT_TRUE(fine.positions.isApprox(Matrix(t.cube())));
  EXPECT_TRUE(fine.velocities().isApprox(Matrix(3.0 * t.square())));
  EXPECT_TRUE(fine.accelerations().isApprox(Matrix(6.0 * t), 1e-12));
  //! [cubic]
}

TEST(GuideInterpolation, PassesThroughTheSamples) {
  //! [through]
  const JointTrajectory move =
      TrajectoryAtTimes(Matrix{{0.0}, {0.1}, {0.7}, {0.9}, {1.0}}, Vector{{0.0, 0.1, 0.2, 0.4, 0.5}});
  const JointTrajectory cubic = ResampleTrajectory(move, 0.1, ResamplingMethod::cubic, append, true);
  EXPECT_EQ(cubic.positions(1, 0), 0.1);  // the grid entry 0.1 s is the sample time: exactly that sample
  EXPECT_EQ(cubic.positions(2, 0), 0.7);
  EXPECT_NEAR(cubic.positions(5, 0), 1.0, 1e-15);  // the last one is the far end of a polynomial: up to rounding
  //! [through]
}

TEST(GuideInterpolation, ExtendHoldsThePositionAndKeepsTheSplinesVelocity) {
  //! [extend]
  const Vector time{{0.0, 0.25, 0.5, 1.0}};
  const JointTrajectory accelerating =
      TrajectoryAtTimes(time.array().square().matrix(), time);  // ends at 1 with velocity 2

  const JointTrajectory cubic = ResampleTrajectory(accelerating, 0.4, ResamplingMethod::cubic, extend, true);
  EXPECT_NEAR(cubic.time[3], 1.2, 1e-15);
  EXPECT_NEAR(cubic.positions(3, 0), 1.0, 1e-14);
  EXPECT_NEAR(cubic.velocities()(3, 0), 2.0, 1e-14);  // not zero

  const JointTrajectory linear = ResampleTrajectory(accelerating, 0.4, ResamplingMethod::linear, extend, false);
  EXPECT_EQ(linear.positions(3, 0), 1.0);
  //! [extend]
}

TEST(GuideInterpolation, FewSamplesLowerTheDegree) {
  //! [few]
  const JointTrajectory two = TrajectoryAtTimes(Matrix{{0.0}, {1.0}}, Vector{{0.0, 1.0}});
  const JointTrajectory line = ResampleTrajectory(two, 0.25, ResamplingMethod::cubic, append, true);
  EXPECT_EQ(line.velocities(), Matrix::Ones(5, 1));
  EXPECT_EQ(line.accelerations(), Matrix::Zero(5, 1));

  const JointTrajectory three = TrajectoryAtTimes(Matrix{{0.0}, {1.0}, {4.0}}, Vector{{0.0, 1.0, 2.0}});
  const JointTrajectory parabola = ResampleTrajectory(three, 0.5, ResamplingMethod::cubic, append, true);
  EXPECT_TRUE(parabola.accelerations().isApprox(Matrix::Constant(5, 1, 2.0)));
  //! [few]
}

TEST(GuideInterpolation, FallsBackToLinearUnlessStrict) {
  //! [fallback]
  const JointTrajectory one = TrajectoryAtTimes(Matrix::Ones(1, 1), Vector::Constant(1, 2.0));
  EXPECT_EQ(MessageOf([&] { ResampleTrajectory(one, 0.1, ResamplingMethod::cubic, append, true); }),
            "`x` must contain at least 2 elements.");
  EXPECT_EQ(ResampleTrajectory(one, 0.1, ResamplingMethod::cubic, append, false).positions, one.positions);

  // Differences beyond the largest double spoil the spline, but not the line.
  const JointTrajectory extreme =
      TrajectoryAtTimes(Matrix{{-1.5e308}, {1.5e308}, {-1.5e308}, {1.5e308}}, Vector{{0.0, 1.0, 2.0, 3.0}});
  EXPECT_EQ(MessageOf([&] { ResampleTrajectory(extreme, 0.5, ResamplingMethod::cubic, append, true); }),
            "Cubic-spline construction produced non-finite coefficients.");
  EXPECT_EQ(ResampleTrajectory(extreme, 0.5, ResamplingMethod::cubic, append, false).positions(1, 0), 0.0);
  //! [fallback]
}

}  // namespace
