// The code of the guide's page on errors and their order.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <velmora/control/shaper/blending.hpp>
#include <velmora/native/invalid_argument_error.hpp>
#include <velmora/util/smootherstep.hpp>
#include <velmora/util/timing/trajectory.hpp>

#include <cmath>
#include <limits>
#include <new>
#include <optional>
#include <string>
#include <variant>

#include "guide_support.hpp"

namespace {

using velmora::native::InvalidArgumentError;
using velmora::util::Smootherstep;
using namespace velmora::util::timing;

TEST(GuideErrors, AreOneTypeWithOneFixedSentence) {
  //! [catch]
  try {
    Smootherstep(std::nan(""));
    FAIL();
  } catch (const InvalidArgumentError& error) {
    EXPECT_STREQ(error.what(), "unit_progress must be finite");
    EXPECT_EQ(error.argument_name(), "unit_progress");
  }

  EXPECT_THROW(Smootherstep(std::nan("")), velmora::native::Error);
  EXPECT_THROW(Smootherstep(std::nan("")), std::runtime_error);
  //! [catch]
}

TEST(GuideErrors, ComeInTheOrderOfTheChecks) {
  //! [order]
  const double nan = std::nan("");
  const Matrix good = Matrix::Zero(2, 1);
  const Matrix not_finite = Matrix::Constant(2, 1, nan);
  const Matrix wrong_shape = Matrix::Zero(3, 1);
  const Vector falling{{1.0, 0.0}};
  const Vector too_long_and_nan{{0.0, nan, 1.0}};

  const auto message = [](const Matrix& positions, std::optional<Matrix> velocities, std::optional<Vector> time,
                          std::optional<double> dt) {
    return MessageOf([&] { JointTrajectory(positions, velocities, std::nullopt, time, dt, std::nullopt); });
  };
  // Positions before times ...
  EXPECT_EQ(message(not_finite, wrong_shape, falling, std::nullopt),
            "JointTrajectory.positions must contain only finite values.");
  // ... the length of the times before their values ...
  EXPECT_EQ(message(good, wrong_shape, too_long_and_nan, std::nullopt),
            "JointTrajectory.positions must align with JointTrajectory.time.");
  // ... times before supplied derivatives ...
  EXPECT_EQ(message(good, wrong_shape, falling, std::nullopt), "JointTrajectory.time must be strictly increasing.");
  // ... the spacing looked at only where there are no times ...
  EXPECT_EQ(message(good, std::nullopt, Vector{{0.0, 1.0}}, nan), "no error");
  EXPECT_EQ(message(good, std::nullopt, std::nullopt, nan), "JointTrajectory.dt must be finite and positive.");
  EXPECT_EQ(message(good, std::nullopt, std::nullopt, std::nullopt), "Either `time` or `dt` must be provided.");
  // ... and a derivative's shape before its values.
  EXPECT_EQ(message(good, Matrix::Constant(3, 1, nan), std::nullopt, 0.1),
            "JointTrajectory.velocities must match JointTrajectory.positions shape.");
  //! [order]
}

TEST(GuideErrors, PassesStandardErrorsThrough) {
  //! [standard]
  using velmora::control::shaper::BlendArrays;
  std::variant<double, Vector> weight = 0.5;
  constexpr Eigen::Index too_many = std::numeric_limits<Eigen::Index>::max();
  EXPECT_THROW(weight.emplace<Vector>(too_many), std::bad_alloc);  // leaves the variant without a value
  EXPECT_THROW(BlendArrays(Matrix::Zero(1, 1), Matrix::Zero(1, 1), weight), std::bad_variant_access);
  EXPECT_EQ(MessageOf([&] { BlendArrays(Matrix::Zero(1, 1), Matrix::Zero(2, 1), weight); }),
            "raw and shaped arrays must have the same shape");  // the shapes are compared first
  //! [standard]
}

}  // namespace
