// The code of the guide's page on thread safety.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <velmora/util/timing/resampling.hpp>

#include <thread>

#include "guide_support.hpp"

namespace {

using namespace velmora::util::timing;

JointTrajectory Move() { return TrajectoryAtTimes(Matrix{{0.0}, {0.1}, {0.7}, {1.0}}, Vector{{0.0, 0.1, 0.2, 0.3}}); }

TEST(GuideThreads, ShareATrajectoryWhoseCachesAreFull) {
  //! [fill]
  const JointTrajectory move = Move();
  move.jerks();  // fills the velocities and accelerations on the way; from here on the object is only read

  Matrix peak;
  std::thread reader([&] { peak = move.velocities().cwiseAbs().colwise().maxCoeff(); });
  const JointTrajectory halfway = SampleTrajectoryAtTimes(move, Vector::Constant(1, 0.15), true);
  reader.join();
  //! [fill]
  EXPECT_GT(peak(0, 0), 0.0);
  EXPECT_EQ(halfway.time[0], 0.15);
}

TEST(GuideThreads, ShareATrajectoryThatIsOnlyResampled) {
  //! [resample]
  const JointTrajectory move = Move();  // caches empty: resampling neither reads nor fills them
  const auto resample = [&move](ResamplingMethod method) {
    return ResampleTrajectory(move, 0.01, method, ResamplingTimeGridMode::exact_dt_trim, false);
  };

  Eigen::Index linear_samples = 0;
  std::thread worker([&] { linear_samples = resample(ResamplingMethod::linear).time.size(); });
  const Eigen::Index cubic_samples = resample(ResamplingMethod::cubic).time.size();
  worker.join();
  EXPECT_EQ(linear_samples, cubic_samples);
  //! [resample]
}

TEST(GuideThreads, GiveEachThreadItsCopy) {
  //! [copy]
  const JointTrajectory move = Move();
  const JointTrajectory mine = move.Copy();  // before the other thread starts: Copy reads the caches

  std::thread other([&] { move.velocities(); });
  mine.velocities();
  other.join();
  //! [copy]
  EXPECT_EQ(mine.velocities(), move.velocities());
}

}  // namespace
