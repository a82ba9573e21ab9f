// Sizes whose products overflow, grids that no memory holds, and a process with little memory: a clear error, or the
// right result.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <new>
#include <optional>
#include <string>

#include "support/arrays.hpp"
#include "support/expect_throws.hpp"
#include "velmora/control/shaper/blending.hpp"
#include "velmora/control/shaper/tail_blend.hpp"
#include "velmora/util/timing/differentiation.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace velmora::testing {
namespace {

using native::Matrix;
using native::Vector;
using util::timing::JointTrajectory;
using util::timing::ResamplingMethod;
using util::timing::ResamplingTimeGridMode;

constexpr Eigen::Index kHuge = Eigen::Index{1} << 40;

JointTrajectory Line(double end_time_s) {
  return {Rows({{0.0}, {1.0}}), std::nullopt, std::nullopt, Values({0.0, end_time_s}), std::nullopt, std::nullopt};
}

TEST(HugeArrays, WithoutColumnsAreBlendedAndDifferenced) {
  const Matrix rows(kHuge, 0);
  const Matrix blend = control::shaper::BlendArrays(rows, rows, 0.5);
  EXPECT_EQ(blend.rows(), kHuge);
  EXPECT_EQ(blend.cols(), 0);
  EXPECT_EQ(util::timing::SampleAlignedFirstDifference(rows, 0.5).rows(), kHuge);
  ExpectInvalidArgument([&] { util::timing::SampleAlignedFirstDifference(rows, Values({0.0})); },
                        "sample_spacing length must match signal samples.");
  ExpectInvalidArgument([&] { control::shaper::BlendArrays(rows, rows, Values({0.0})); },
                        "per-sample shaping weights must match the sample count");
}

TEST(HugeArrays, WithoutRowsKeepTheirColumns) {
  const Matrix columns(0, kHuge);
  EXPECT_EQ(control::shaper::BlendArrays(columns, columns, 0.5).cols(), kHuge);
  EXPECT_EQ(control::shaper::BlendArrays(columns, columns, Vector()).cols(), kHuge);
  EXPECT_EQ(util::timing::SampleAlignedFirstDifference(columns, 0.5).cols(), kHuge);
  EXPECT_EQ(control::shaper::JointPathCoordinate(columns).size(), 0);
  ExpectInvalidArgument(
      [&] {
        control::shaper::BlendTailWithHeldRawEndpoint(Values({1.0}), {columns, columns, columns, Vector()}, 0.5);
      },
      "raw_position length mismatch");
}

TEST(HugeArrays, ThatNeedMoreMemoryThanAnAddressSpaceAreAllocationFailures) {
  const Matrix longer_than_any_result(kHuge * 1024, 0);
  EXPECT_THROW(control::shaper::JointPathCoordinate(longer_than_any_result), std::bad_alloc);
  EXPECT_THROW(JointTrajectory(longer_than_any_result, std::nullopt, std::nullopt, std::nullopt, 1.0, std::nullopt),
               std::bad_alloc);
}

TEST(HugeGrids, AreAllocationFailuresWhateverTheirLength) {
  // Too long for memory, for the bytes to be counted in 64 bits, for a 64-bit integer, and infinite.
  for (const double steps : {0x1p47, 0x1p60, 0x1p62, 0x1.fffffffffffffp62, 0x1p63, 0x1p64, 1e300}) {
    for (const ResamplingMethod method : {ResamplingMethod::linear, ResamplingMethod::cubic}) {
      for (int mode = 0; mode < 4; ++mode) {
        for (const bool strict : {false, true}) {
          EXPECT_THROW(
              ResampleTrajectory(Line(1.0), 1.0 / steps, method, static_cast<ResamplingTimeGridMode>(mode), strict),
              std::bad_alloc)
              << steps << " steps, mode " << mode;
        }
      }
    }
  }
  EXPECT_THROW(
      ResampleTrajectory(Line(1e300), kSmallest, ResamplingMethod::linear, ResamplingTimeGridMode::exact_dt_trim, true),
      std::bad_alloc);
}

// A sanitizer reserves more address space than the limit below allows.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

// The exit status of a child process that runs `body` with this much address space; 0 if `body` returned true.
template <typename Body>
int StatusWithLittleMemory(rlim_t bytes, const Body& body) {
  const pid_t child = fork();
  if (child == 0) {
    const rlimit limit{bytes, bytes};
    _exit(setrlimit(RLIMIT_AS, &limit) == 0 && body() ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  return status;
}

constexpr rlim_t kGibibyte = rlim_t{1} << 30U;

// A matrix of the square of their number would take 29 GB, and a solve of their cube days.
constexpr Eigen::Index kSamples = 60000;
constexpr Eigen::Index kMiddle = kSamples / 2;

Vector EvenTimes(double step) {
  Vector time(kSamples);
  for (Eigen::Index i = 0; i < kSamples; ++i) time[i] = static_cast<double>(i - kMiddle) * step;
  return time;
}

// The error of a strict cubic resampling, where without strictness there is a result.
std::string ErrorOfStrictCubic(const Vector& time) {
  const JointTrajectory trajectory(Matrix::Zero(kSamples, 1), std::nullopt, std::nullopt, time, std::nullopt,
                                   std::nullopt);
  const double dt = (time[kSamples - 1] - time[0]) / 600.0;
  const auto resample = [&](bool strict) {
    return ResampleTrajectory(trajectory, dt, ResamplingMethod::cubic, ResamplingTimeGridMode::exact_dt_trim, strict);
  };
  if (resample(false).time.size() < 600) return "no linear result";
  try {
    resample(true);
  } catch (const native::InvalidArgumentError& error) {
    return error.what();
  }
  return "none";
}

TEST(LittleMemory, IsEnoughForTimesBeyondTheRangeOfPivots) {
  const std::string not_finite = "Cubic-spline construction produced non-finite coefficients.";
  const auto expect = [](const std::string& error, const Vector& time) {
    EXPECT_EQ(StatusWithLittleMemory(kGibibyte, [&] { return ErrorOfStrictCubic(time) == error; }), 0) << error;
  };
  expect("none", EvenTimes(0.004));
  expect(not_finite, EvenTimes(kSmallest));  // every reciprocal of a pivot overflows
  Vector two_short_steps = EvenTimes(1.0);
  two_short_steps.segment<3>(kMiddle - 1) << -1e-310, 0.0, 1e-310;  // one does
  expect(not_finite, two_short_steps);
  Vector long_step = EvenTimes(1e302);
  long_step.tail(kSamples - kMiddle).array() += 1e308;  // two pivots overflow, and then the time within the long step
  expect("JointTrajectory.velocities must contain only finite values.", long_step);
}

TEST(LittleMemory, IsReportedForAGridThatOnlyAnotherMachineHolds) {
  EXPECT_EQ(StatusWithLittleMemory(kGibibyte,
                                   [] {
                                     try {
                                       ResampleTrajectory(Line(1.0), 1e-9, ResamplingMethod::linear,
                                                          ResamplingTimeGridMode::exact_dt_trim, true);
                                     } catch (const std::bad_alloc&) {
                                       return true;
                                     }
                                     return false;
                                   }),
            0);
}

#endif

}  // namespace
}  // namespace velmora::testing
