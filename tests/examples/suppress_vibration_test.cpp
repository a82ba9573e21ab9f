// suppress_vibration: its machine against closed forms, the figures that it reports, and the program.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "demonstration.hpp"
#include "flexible_joint.hpp"
#include "move.hpp"
#include "temporary_folder.hpp"
#include "weighted_blend.hpp"

namespace velmora::examples {
namespace {

using util::timing::JointTrajectory;

constexpr double kSampleTime_s = 0.001;

JointTrajectory RawCommand() { return ResampledRestToRestMove(QuinticMove(), kSampleTime_s).trajectory; }

TEST(TransitionOf, LastsAsLongAsTheSteepestRateAsks) {
  EXPECT_EQ(TransitionOf({0.5, 0.2, 50.0}).vibration_weight_transition_s, 0.2);
  EXPECT_EQ(TransitionOf({0.5, 0.0, 0.5 * 1.875 / 0.2}).vibration_weight_transition_s, 0.2);
  EXPECT_EQ(TransitionOf({0.5, 0.2, 50.0}).vibration_shaping_weight, 0.5);
}

// A constant acceleration a deflects by -a / w^2 about which the joint swings: q = -a/w^2 (1 - e^(-zeta w t) (cos wd t
// + zeta w / wd sin wd t)).
TEST(FlexibleJoint, FollowsTheClosedFormOfAStep) {
  const VibrationMode mode{5.0, 0.02};
  const FlexibleJoint joint(mode);
  const double w = 2.0 * M_PI * mode.frequency_hz;
  const double wd = 2.0 * M_PI * mode.damped_frequency_hz();
  for (const int steps : {1, 7, 1000}) {
    Deflection q;
    const double duration_s = 0.37;
    for (int i = 0; i < steps; ++i) q = joint.Driven(q, 3.0, 3.0, duration_s / steps);
    const double decay = std::exp(-0.02 * w * duration_s);
    const double swing = decay * (std::cos(wd * duration_s) + 0.02 * w / wd * std::sin(wd * duration_s));
    EXPECT_NEAR(q.position_rad, -3.0 / (w * w) * (1.0 - swing), 1e-14) << steps << " steps";
    EXPECT_NEAR(q.velocity_rad_per_s, -3.0 * decay * std::sin(wd * duration_s) / wd, 1e-13) << steps << " steps";
  }
}

// A ramp of the acceleration from 0 at rate r without damping: q = -r (w t - sin w t) / w^3.
TEST(FlexibleJoint, FollowsTheClosedFormOfARamp) {
  const VibrationMode mode{2.0, 0.0};
  const double w = 2.0 * M_PI * mode.frequency_hz;
  const Deflection q = FlexibleJoint(mode).Driven({}, 0.0, 4.0 * 0.3, 0.3);
  EXPECT_NEAR(q.position_rad, -4.0 * (w * 0.3 - std::sin(w * 0.3)) / (w * w * w), 1e-15);
}

TEST(FlexibleJoint, PeaksFreelyAtItsStartOrAtItsFirstTurn) {
  const FlexibleJoint undamped({1.0, 0.0});
  const double w = 2.0 * M_PI;
  EXPECT_NEAR(undamped.FreePeak_rad({0.3, 0.4 * w}), 0.5, 1e-14);
  EXPECT_NEAR(undamped.FreeEnvelope_rad({0.3, 0.4 * w}), 0.5, 1e-14);
  EXPECT_NEAR(FlexibleJoint({1.0, 0.2}).FreePeak_rad({-0.3, 0.0}), 0.3, 1e-14);
}

class ReportedFigures : public ::testing::Test {
 protected:
  const Command& Named(const std::string& key) const {
    for (const Command& command : commands_) {
      if (command.key.rfind(key, 0) == 0) return command;
    }
    throw std::out_of_range(key);
  }

  double Residual_mrad(const std::string& key, double frequency_error) const {
    const FlexibleJoint joint(Detuned(model_, frequency_error));
    return 1e3 * ResidualVibration_rad(joint, Simulate(joint, Named(key).samples));
  }

  // Within 2 %, or half a unit of the last digit where the figure was calculated to fewer digits.
  static void ExpectFigure(double actual, double expected, double last_digit = 0.1) {
    EXPECT_NEAR(actual, expected, std::max(0.02 * expected, 0.5 * last_digit));
  }

  VibrationMode model_{5.0, 0.02};
  BlendParameters half_{0.5, 0.02, 50.0};
  std::vector<Command> commands_ = BuildCommands(RawCommand(), kSampleTime_s, model_, BlendedShaper::zvd, half_);
};

TEST_F(ReportedFigures, OfTheRawCommandAreThoseOfAnIndependentCalculation) {
  ExpectFigure(Residual_mrad("raw", 0.0), 21.6);
  ExpectFigure(Residual_mrad("raw", -0.1), 78.2);
  ExpectFigure(Residual_mrad("raw", 0.1), 17.4);
}

TEST_F(ReportedFigures, OfTheShapedCommandsAreThoseOfAnIndependentCalculation) {
  EXPECT_LT(Residual_mrad("zv", 0.0), 0.01);
  ExpectFigure(Residual_mrad("zv", -0.1), 12.2);
  ExpectFigure(Residual_mrad("zv", 0.1), 2.6);
  EXPECT_LT(Residual_mrad("zvd", 0.0), 0.01);
  ExpectFigure(Residual_mrad("zvd", -0.1), 1.8);
  ExpectFigure(Residual_mrad("zvd", 0.1), 0.4);
}

TEST_F(ReportedFigures, OfHalfRawHalfShapedAreThoseOfAnIndependentCalculation) {
  ExpectFigure(Residual_mrad("blend", 0.0), 9.5);
}

// A sampled command ends at the first sample at or after its exact end.
TEST_F(ReportedFigures, EndWhereShapingSays) {
  const auto end_s = [&](const std::string& key) {
    const Vector& time = Named(key).samples.time;
    return time[time.size() - 1];
  };
  EXPECT_NEAR(end_s("raw"), 0.350, 1e-12);
  EXPECT_NEAR(end_s("zv"), 0.450, 1.001 * kSampleTime_s);
  EXPECT_NEAR(end_s("zvd"), 0.550, 1.001 * kSampleTime_s);
  EXPECT_NEAR(Named("zv").added_duration_s, 0.1, 1e-4);
  EXPECT_NEAR(Named("zvd").added_duration_s, 0.2, 1e-4);
}

TEST_F(ReportedFigures, AreZeroVibrationForAFullWeightFromTheStart) {
  const std::vector<Command> full =
      BuildCommands(RawCommand(), kSampleTime_s, model_, BlendedShaper::zv, {1.0, 0.0, 1e9});
  const FlexibleJoint joint(model_);
  EXPECT_LT(1e3 * ResidualVibration_rad(joint, Simulate(joint, full.back().samples)), 0.01);
}

class SuppressVibration : public TemporaryFolder {
 protected:
  int Run(const std::string& arguments) const {
    const std::string command =
        "'" SUPPRESS_VIBRATION_PROGRAM "' " + arguments + " >'" + Path("stdout") + "' 2>'" + Path("stderr") + "'";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
};

TEST_F(SuppressVibration, PrintsItsTableAndWritesBothFiles) {
  ASSERT_EQ(Run("--output '" + Path("out") + "'"), 0) << ReadFile("stderr");
  const std::string table = ReadFile("stdout");
  for (const char* row : {"| raw | 0.000 s | 21.56 mrad |", "| ZV | 0.100 s | < 0.01 mrad |", "| ZVD | 0.200 s |"}) {
    EXPECT_NE(table.find(row), std::string::npos) << row << " in\n" << table;
  }
  EXPECT_EQ(ReadFile("out/response.csv").rfind("time_s,", 0), 0U);
  EXPECT_FALSE(ReadFile("out/robustness.csv").empty());
}

TEST_F(SuppressVibration, TakesARecording) {
  EXPECT_EQ(Run("--recording '" BUNDLED_RECORDING "' --sample-time 0.004 --shaper zv"), 0) << ReadFile("stderr");
}

TEST_F(SuppressVibration, ExitsWithTwoOnBadUsage) {
  for (const char* arguments : {"--shaper zvdd", "--weight 1.5", "--transition -1", "--rate 0", "--frequency 0",
                                "--damping 1", "--sample-time 0", "--unknown"}) {
    EXPECT_EQ(Run(arguments), 2) << arguments;
    EXPECT_EQ(ReadFile("stdout"), "") << arguments;
  }
}

TEST_F(SuppressVibration, ExitsWithOneOnABadRecording) {
  EXPECT_EQ(Run("--recording '" + WriteFile("log.csv", "time_s,a\n0,0\n1,x\n") + "'"), 1);
  EXPECT_EQ(ReadFile("stderr").find(Path("log.csv") + ":3"), std::string("suppress_vibration: ").size());
  EXPECT_EQ(Run("--recording '" + WriteFile("moving.csv", "time_s,a\n0,0\n1,1\n2,2\n3,3\n") + "'"), 1)
      << "a move that is not at rest at its ends";
}

}  // namespace
}  // namespace velmora::examples
