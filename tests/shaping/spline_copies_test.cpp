// Trajectories shaped along the spline, against copies of a plain spline that are added up one by one.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include "oracle/cubic.hpp"
#include "shaping/commands.hpp"
#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/generator.hpp"
#include "velmora/shaping/shape_trajectory.hpp"

namespace velmora::shaping {
namespace {

using native::Matrix;
using native::Vector;
using oracle::Table;
using testing::SameBits;
using testing::SplitMix64;
using testing::Values;

constexpr ResamplingMethod kCubic = ResamplingMethod::cubic;

// What the command is at each time: interpolated, or held before and after.
using Sampled = std::vector<Table>;  // by the order of the derivative

Sampled SampleCopy(const JointTrajectory& raw, const oracle::CubicSpline& spline, const Vector& own_times_s) {
  const std::vector<double> times_s(own_times_s.begin(), own_times_s.end());
  Sampled sampled;
  const std::size_t joints = static_cast<std::size_t>(raw.positions.cols());
  for (std::uint32_t order = 0; order < 3; ++order) {
    Table rows = oracle::EvaluateCubicSpline(spline, times_s, order);
    for (std::size_t r = 0; r < times_s.size(); ++r) {
      const bool before = times_s[r] < spline.x.front();
      if (!before && times_s[r] <= spline.x.back()) continue;
      const Eigen::Index end = before ? 0 : raw.positions.rows() - 1;
      for (std::size_t j = 0; j < joints; ++j) {
        rows(r, j) = order == 0 ? raw.positions(end, static_cast<Eigen::Index>(j)) : 0.0;
      }
    }
    sampled.push_back(rows);
  }
  return sampled;
}

Sampled AddCopies(const std::vector<Sampled>& copies, const Vector& amplitudes) {
  Sampled sums = copies.front();
  for (std::size_t order = 0; order < sums.size(); ++order) {
    for (std::size_t k = 1; k < copies.size(); ++k) {
      for (std::size_t i = 0; i < sums[order].values.size(); ++i) {
        const double difference = copies[k][order].values[i] - copies[0][order].values[i];
        sums[order].values[i] += amplitudes[static_cast<Eigen::Index>(k)] * difference;
      }
    }
  }
  return sums;
}

Vector Delayed(const Vector& times_s, double delay_s) { return times_s.array() - delay_s; }

ImpulseSequence RandomSequence(SplitMix64& random, std::size_t impulses, double longest_s) {
  Vector times_s = testing::RandomTimes(random, impulses, testing::TimeFamily::jittered);
  times_s.array() -= times_s[0];
  if (impulses > 1) times_s *= longest_s / times_s[times_s.size() - 1];
  Vector amplitudes(times_s.size());
  for (double& amplitude : amplitudes) amplitude = random.Symmetric();
  amplitudes[0] += 1.0 - amplitudes.sum();
  return {times_s, amplitudes};
}

// A share of the span of the move before which, and after which, times lie.
Vector RandomQueries(SplitMix64& random, std::size_t count, const Vector& time, double beyond) {
  Vector queries = testing::RandomTimes(random, count, testing::TimeFamily::jittered);
  if (count == 1) return Values({time[0]});
  const double span_s = time[time.size() - 1] - time[0];
  const double scale = (1.0 + 2.0 * beyond) * span_s / (queries[queries.size() - 1] - queries[0]);
  const double begin = queries[0];
  for (double& query : queries) query = time[0] - beyond * span_s + scale * (query - begin);
  return queries;
}

// All joints shaped by a sequence that is delayed itself.
Sampled ShapeByOracle(const JointTrajectory& raw, const oracle::CubicSpline& spline, const Vector& times_s,
                      const ImpulseSequence& sequence, double delay_s) {
  const Vector delayed_s = Delayed(times_s, delay_s);
  std::vector<Sampled> copies;
  for (const double impulse_s : sequence.times_s) {
    copies.push_back(SampleCopy(raw, spline, Delayed(delayed_s, impulse_s)));
  }
  return AddCopies(copies, sequence.amplitudes);
}

TEST(ShapeTrajectory, IsTheSumOfCopiesOfAPlainSpline) {
  SplitMix64 random(97);
  for (int k = 0; k < 200; ++k) {
    const std::size_t samples = 2 + random.Below(random.OneIn(4) ? 300 : 40);
    const std::size_t joints = random.Below(13);
    const Vector time = testing::RandomTimes(random, samples, testing::TimeFamily::jittered);
    const JointTrajectory raw = testing::Trajectory(
        testing::RandomMatrix(random, samples, joints, testing::ValueFamily::mixed_magnitudes), time);
    const double span_s = time[time.size() - 1] - time[0];
    std::vector<ImpulseSequence> sequences;
    double lag_s = -testing::kInfinity;
    for (std::size_t n = random.OneIn(3) && joints > 0 ? joints : 1; n > 0; --n) {
      const double longest_s = span_s * (random.OneIn(3) ? 0.9 : 0.2) * (random.Unit() + 1e-3);
      sequences.push_back(RandomSequence(random, 1 + random.Below(random.OneIn(30) ? 600 : 6), longest_s));
      lag_s = std::max(lag_s, sequences.back().centroid_s());
    }
    const Vector times_s =
        RandomQueries(random, 1 + random.Below(random.OneIn(2) ? 1500 : 60), time, random.OneIn(2) ? 0.0 : 0.3);

    const ShapedTrajectory shaped = JoinMoveAndTail(ShapeTrajectory(raw, sequences, times_s, kCubic));
    const oracle::CubicSpline spline =
        oracle::BuildCubicSpline(std::vector<double>(time.begin(), time.end()), testing::ToTable(raw.positions));
    Sampled expected = ShapeByOracle(raw, spline, times_s, sequences[0], lag_s - sequences[0].centroid_s());
    for (std::size_t j = 1; j < sequences.size(); ++j) {
      const Sampled own = ShapeByOracle(raw, spline, times_s, sequences[j], lag_s - sequences[j].centroid_s());
      for (std::size_t order = 0; order < own.size(); ++order) {
        for (std::size_t r = 0; r < own[order].rows; ++r) expected[order](r, j) = own[order](r, j);
      }
    }
    ASSERT_TRUE(SameBits(expected[0], shaped.positions)) << "case " << k;
    ASSERT_TRUE(SameBits(expected[1], shaped.velocities)) << "case " << k;
    ASSERT_TRUE(SameBits(expected[2], shaped.accelerations)) << "case " << k;
  }
}

TEST(ShapeTrajectory, HoldsACopyThatRoundingPutsBeforeTheStart) {
  const JointTrajectory raw = testing::Trajectory(testing::Rows({{1.0}, {2.0}, {5.0}, {3.0}}), Values({0.1, 1, 2, 3}));
  ASSERT_LT(0.7 - 0.6, 0.1);
  ASSERT_EQ(0.7, 0.1 + 0.6);
  const ImpulseSequence sequence(Values({0.0, 0.6}), Values({0.0, 1.0}));
  const ShapedCommand shaped = ShapeTrajectory(raw, {sequence}, Values({0.7}), kCubic);
  EXPECT_EQ(shaped.move.positions(0, 0), 1.0);
  EXPECT_EQ(shaped.move.velocities(0, 0), 0.0);
}

// Stretches of times that follow each other closely, loosely, or after a leap.
Vector ChangingSteps(SplitMix64& random, double begin_s, double end_s, double interval_s) {
  std::vector<double> times_s;
  double time_s = begin_s;
  while (time_s < end_s) {
    const double step_s = interval_s * Values({0.1, 0.5, 1.0, 2.5, 20.0})[static_cast<Eigen::Index>(random.Below(5))];
    for (std::size_t left = 1 + random.Below(1'000); left > 0 && time_s < end_s; --left) {
      times_s.push_back(time_s);
      time_s += step_s * (0.5 + random.Unit());
    }
    if (random.OneIn(3)) time_s += 1'000.0 * interval_s * random.Unit();
  }
  return Eigen::Map<const Vector>(times_s.data(), static_cast<Eigen::Index>(times_s.size()));
}

// Long moves, of which each copy is a trajectory shaped by one impulse.
TEST(ShapeTrajectory, IsTheSumOfCopiesHoweverFarApart) {
  SplitMix64 random(98);
  constexpr std::size_t kSamples = 12'000;
  const Vector time = testing::RandomTimes(random, kSamples, testing::TimeFamily::jittered);
  const JointTrajectory raw =
      testing::Trajectory(testing::RandomMatrix(random, kSamples, 7, testing::ValueFamily::moderate), time);
  const double end_s = time[time.size() - 1];
  const double interval_s = (end_s - time[0]) / static_cast<double>(kSamples - 1);
  const ImpulseSequence alone(Values({0.0}), Values({1.0}));
  for (const double intervals_apart : {0.3, 40.0, 900.0, 1'800.0, 3'500.0, 4'200.0, 7'000.0}) {
    for (int k = 0; k < 4; ++k) {
      const ImpulseSequence sequence = RandomSequence(random, 3, intervals_apart * interval_s);
      const Vector times_s = ChangingSteps(random, time[0], end_s + sequence.duration_s(), interval_s);
      const ShapedTrajectory shaped = JoinMoveAndTail(ShapeTrajectory(raw, {sequence}, times_s, kCubic));
      std::vector<Sampled> copies;
      for (const double delay_s : sequence.times_s) {
        const ShapedTrajectory copy = JoinMoveAndTail(ShapeTrajectory(raw, {alone}, Delayed(times_s, delay_s), kCubic));
        copies.push_back({testing::ToTable(copy.positions), testing::ToTable(copy.velocities),
                          testing::ToTable(copy.accelerations)});
      }
      const Sampled expected = AddCopies(copies, sequence.amplitudes);
      ASSERT_TRUE(SameBits(expected[0], shaped.positions)) << intervals_apart << " case " << k;
      ASSERT_TRUE(SameBits(expected[1], shaped.velocities)) << intervals_apart << " case " << k;
      ASSERT_TRUE(SameBits(expected[2], shaped.accelerations)) << intervals_apart << " case " << k;
    }
  }
}

// What comes out means nothing then, but nothing is read or written elsewhere.
TEST(ShapeTrajectory, StaysInItsMemoryWhereTimesWereOverwritten) {
  SplitMix64 random(99);
  for (int k = 0; k < 60; ++k) {
    JointTrajectory raw = testing::SmoothMove(2'000, 1 + static_cast<Eigen::Index>(random.Below(8)));
    ImpulseSequence sequence = RandomSequence(random, 3, 0.1);
    (void)raw.velocities();
    (void)raw.accelerations();
    double* const places[] = {raw.time.data(), sequence.times_s.data()};
    const std::size_t sizes[] = {2'000, 3};
    const double strange[] = {
        testing::kNan, testing::kInfinity, -testing::kInfinity, -1.0, 0.3, std::numeric_limits<double>::max()};
    for (std::size_t n = 0; n < 5; ++n) {
      const std::size_t which = random.Below(2);
      places[which][random.Below(sizes[which])] = strange[random.Below(6)];
    }
    try {
      EXPECT_EQ(ShapeTrajectory(raw, {sequence}, 0.01 + random.Unit(), kCubic).move.time.size(), 2'000);
    } catch (const std::exception& error) {
      EXPECT_STRNE(error.what(), "");
    }
  }
}

}  // namespace
}  // namespace velmora::shaping
