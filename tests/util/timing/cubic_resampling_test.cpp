// The cubic path behind the exported routine.
// SPDX-License-Identifier: Apache-2.0
#include "util/timing/cubic_resampling.hpp"

#include <gtest/gtest.h>

#include <new>
#include <optional>

#include "support/arrays.hpp"
#include "support/expect_throws.hpp"

namespace velmora::util::timing {
namespace {

using testing::ExpectInvalidArgument;
using testing::Rows;
using testing::Values;
using Mode = ResamplingTimeGridMode;

JointTrajectory AtTimes(const Matrix& positions, const Vector& time) {
  return {positions, std::nullopt, std::nullopt, time, std::nullopt, std::nullopt};
}

TEST(ResampleTrajectoryCubic, ReportsTheGridThenTheKnots) {
  const JointTrajectory one = AtTimes(Rows({{1.0}}), Values({2.0}));
  ExpectInvalidArgument([&] { ResampleTrajectoryCubic(one, -1.0, Mode::exact_dt_trim); },
                        "sample_time_s must be positive.");
  ExpectInvalidArgument([&] { ResampleTrajectoryCubic(one, 1.0, Mode::exact_dt_trim); },
                        "`x` must contain at least 2 elements.");
  ExpectInvalidArgument([&] { ResampleTrajectoryCubic(one, 1.0, static_cast<Mode>(9)); },
                        "`x` must contain at least 2 elements.");
}

TEST(ResampleTrajectoryCubic, ReportsTheCoefficientsBeforeTheResult) {
  const Matrix steep = Rows({{-1e308}, {1e308}, {-1e308}, {1e308}});
  const JointTrajectory trajectory = AtTimes(steep, Values({1e16, 1e16 + 2, 1e16 + 4, 1e16 + 6}));
  ExpectInvalidArgument([&] { ResampleTrajectoryCubic(trajectory, 0.5, Mode::exact_dt_trim); },
                        "Cubic-spline construction produced non-finite coefficients.");
  ExpectInvalidArgument([&] { ResampleTrajectoryCubic(trajectory, 0.5, static_cast<Mode>(9)); },
                        "Unsupported resampling time-grid mode.");
}

TEST(ResampleTrajectoryCubic, ReportsAnAllocationFailureOfTheGrid) {
  const JointTrajectory trajectory = AtTimes(Rows({{0.0}, {1.0}}), Values({0.0, 1.0}));
  testing::ExpectThrows<std::bad_alloc>([&] { ResampleTrajectoryCubic(trajectory, 1e-300, Mode::exact_dt_trim); },
                                        "std::bad_alloc");
}

}  // namespace
}  // namespace velmora::util::timing
