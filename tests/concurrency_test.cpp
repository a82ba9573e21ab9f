// Many threads use the library at once; under ThreadSanitizer this shows that sharing is safe after the caches are
// full.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/generator.hpp"
#include "velmora/control/shaper/blending.hpp"
#include "velmora/control/shaper/parameters.hpp"
#include "velmora/control/shaper/tail_blend.hpp"
#include "velmora/native/invalid_argument_error.hpp"
#include "velmora/util/smootherstep.hpp"
#include "velmora/util/timing/differentiation.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace velmora {
namespace {

using native::Matrix;
using native::Vector;
using util::timing::JointTrajectory;
using util::timing::ResamplingMethod;
using util::timing::ResamplingTimeGridMode;

// Everything that may be called on shared const objects, as one list of results.
std::vector<Matrix> UseEverything(const JointTrajectory& shared, const native::ShapedTrajectory& tail) {
  std::vector<Matrix> results = {shared.velocities(), shared.accelerations(), shared.jerks()};
  const auto keep = [&](const JointTrajectory& trajectory) {
    results.push_back(trajectory.positions);
    results.push_back(trajectory.time);
    results.push_back(trajectory.velocities());
    results.push_back(trajectory.jerks());
  };
  keep(shared.Copy());
  keep(SampleTrajectoryAtTimes(shared, shared.time.head(5), true));
  for (const ResamplingMethod method : {ResamplingMethod::linear, ResamplingMethod::cubic}) {
    for (int mode = 0; mode < 4; ++mode) {
      keep(ResampleTrajectory(shared, 0.37, method, static_cast<ResamplingTimeGridMode>(mode), true));
    }
  }
  results.push_back(util::timing::SampleAlignedFirstDifference(shared.positions, shared.time));
  results.push_back(util::timing::SampleAlignedFirstDifference(shared.positions, 0.5));
  results.push_back(control::shaper::JointPathCoordinate(shared.positions));
  results.push_back(control::shaper::BlendArrays(tail.positions, tail.velocities, 0.3));
  results.push_back(control::shaper::BlendArrays(tail.positions, tail.velocities, tail.time));
  results.push_back(control::shaper::BlendTailWithHeldRawEndpoint(shared.positions.row(0), tail, 0.7).positions);
  results.push_back(Matrix::Constant(1, 1, util::Smootherstep(0.3)));
  control::shaper::ValidateVibrationShapingWeight(0.5);
  try {
    util::Smootherstep(testing::kNan);
  } catch (const native::InvalidArgumentError& error) {
    results.push_back(Matrix::Zero(1, static_cast<Eigen::Index>(std::string(error.what()).size())));
  }
  return results;
}

TEST(Concurrency, OfConstUseGivesTheSerialResults) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 8;
  testing::SplitMix64 random(9000);
  const Matrix positions = RandomMatrix(random, 40, 5, testing::ValueFamily::moderate);
  const JointTrajectory shared(positions, std::nullopt, std::nullopt,
                               RandomTimes(random, 40, testing::TimeFamily::integers), std::nullopt, std::nullopt);
  static_cast<void>(shared.jerks());  // fills all three caches before the object is shared
  const native::ShapedTrajectory tail{positions, 2.0 * positions, 3.0 * positions, shared.time};
  const std::vector<Matrix> serial = UseEverything(shared, tail);

  std::vector<std::vector<Matrix>> parallel(kThreads);
  std::vector<std::thread> threads;
  for (std::vector<Matrix>& results : parallel) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) results = UseEverything(shared, tail);
    });
  }
  for (std::thread& thread : threads) thread.join();

  for (const std::vector<Matrix>& results : parallel) {
    ASSERT_EQ(results.size(), serial.size());
    for (std::size_t k = 0; k < serial.size(); ++k) EXPECT_TRUE(testing::SameBits(serial[k], results[k])) << k;
  }
}

// The first call of an accessor writes a cache without a lock: callers that share an object whose caches are empty
// guard such calls themselves, as here, or make them before they share it, as above.
TEST(Concurrency, OfFirstAccessorCallsIsGuardedByTheCaller) {
  testing::SplitMix64 random(9001);
  const Matrix positions = RandomMatrix(random, 40, 5, testing::ValueFamily::moderate);
  const auto make = [&] {
    return JointTrajectory(positions, std::nullopt, std::nullopt, std::nullopt, 0.1, std::nullopt);
  };
  const Matrix serial = make().jerks();

  const JointTrajectory shared = make();
  std::mutex guard;
  std::vector<Matrix> jerks(8);
  std::vector<std::thread> threads;
  for (Matrix& result : jerks) {
    threads.emplace_back([&] {
      const std::lock_guard<std::mutex> lock(guard);
      result = shared.jerks();
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const Matrix& result : jerks) EXPECT_TRUE(testing::SameBits(serial, result));
}

}  // namespace
}  // namespace velmora
