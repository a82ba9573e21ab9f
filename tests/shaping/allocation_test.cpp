// Memory: a control loop allocates none, and elsewhere every allocation that fails is reported without a trace.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "faults/failing_allocation.hpp"
#include "support/arrays.hpp"
#include "velmora/shaping/analysis.hpp"
#include "velmora/shaping/blend_shaped_trajectory.hpp"
#include "velmora/shaping/designs.hpp"
#include "velmora/shaping/shape_trajectory.hpp"
#include "velmora/shaping/streaming_shaper.hpp"

namespace velmora::shaping {
namespace {

using testing::FailAllocation;
using testing::LiveAllocations;
using testing::StopFailing;
using testing::TakeLargestAllocation;
using testing::Values;

constexpr std::size_t kMostAllocations = 100'000;

TEST(StreamingShaper, AllocatesNothingPerSample) {
  StreamingShaper shaper(ThreeHumpEi(VibrationMode(5.0, 0.05), 0.05), 7, 0.004);
  JointSample sample{Vector::Constant(7, 0.5), Vector::Constant(7, 0.1), Vector::Zero(7)};
  const long live = LiveAllocations();
  FailAllocation(1);  // the next one would be seen
  for (int i = 0; i < 1000; ++i) {
    sample.position[3] += 1e-3;
    shaper.Step(sample);
  }
  for (int i = 0; i < 200; ++i) shaper.StepTail();
  shaper.HardStop();
  EXPECT_FALSE(StopFailing());
  EXPECT_EQ(LiveAllocations(), live);
}

// What is kept for each impulse and sample would be 256 times as much.
TEST(ShapeTrajectory, TakesNoMoreThanItsArgumentsForManyImpulses) {
  constexpr Eigen::Index kImpulses = 20'000;
  const ImpulseSequence sequence(Vector::LinSpaced(kImpulses, 0.0, 0.1),
                                 Vector::Constant(kImpulses, 1.0 / static_cast<double>(kImpulses)));
  const util::timing::JointTrajectory raw(native::Matrix::Random(300, 1), std::nullopt, std::nullopt, std::nullopt,
                                          0.01, std::nullopt);
  TakeLargestAllocation();
  ShapeTrajectory(raw, {sequence}, 0.01, util::timing::ResamplingMethod::cubic);
  EXPECT_LE(TakeLargestAllocation(), 2 * kImpulses * sizeof(double));  // a sanitizer's Eigen adds a few bytes
}

// The first `limit` allocations of a call fail one by one; the call then succeeds, or the limit is reached.
void FailEveryAllocation(const std::string& name, const std::function<void()>& call, std::size_t limit) {
  call();
  for (std::size_t k = 1; k <= limit; ++k) {
    const long live = LiveAllocations();
    FailAllocation(k);
    bool thrown = false;
    try {
      call();
    } catch (const std::bad_alloc&) {
      thrown = true;
    }
    const bool reached = StopFailing();
    EXPECT_EQ(thrown, reached) << name << ", allocation " << k;
    ASSERT_EQ(LiveAllocations(), live) << name << ", allocation " << k;
    if (!reached) return;
  }
  if (limit == kMostAllocations) ADD_FAILURE() << name << ": more than " << limit << " allocations";
}

TEST(InputShaping, ReportsEveryFailedAllocation) {
  const VibrationMode mode(5.0, 0.05);
  const ImpulseSequence zvd = Zvd(mode);
  native::Matrix positions(40, 3);
  for (Eigen::Index i = 0; i < positions.size(); ++i) positions.data()[i] = static_cast<double>(i % 7);
  const util::timing::JointTrajectory raw(positions, positions, positions, std::nullopt, 0.01, std::nullopt);
  const std::vector<ImpulseSequence> sequences{zvd, Zv(mode), zvd};
  const ShapedCommand shaped = ShapeTrajectory(raw, {zvd}, 0.01, util::timing::ResamplingMethod::linear);
  const Vector ramp = Vector::LinSpaced(40, 0.0, 1.0);
  // Of samples that lie closely at first, then far apart, more intervals are kept the second time.
  const util::timing::JointTrajectory longer(native::Matrix::Random(200, 2), std::nullopt, std::nullopt, std::nullopt,
                                             1.0, std::nullopt);
  const ImpulseSequence halves(Values({0.0, 2.0}), Values({0.5, 0.5}));
  Vector close_then_apart(512);
  close_then_apart << Vector::LinSpaced(256, 3.0, 8.0), Vector::LinSpaced(256, 9.0, 136.0);

  const std::vector<std::pair<const char*, std::function<void()>>> calls{
      {"Zv", [&] { Zv(mode); }},
      {"UmZvd", [&] { UmZvd(mode); }},
      {"Convolve", [&] { Convolve(zvd, sequences[1]); }},
      {"ResidualOverFrequency", [&] { ResidualOverFrequency(zvd, mode, ramp); }},
      {"ResidualOverDamping", [&] { ResidualOverDamping(zvd, mode, Vector(0.5 * ramp)); }},
      {"ShapeTrajectory, linear",
       [&] { ShapeTrajectory(raw, sequences, 0.01, util::timing::ResamplingMethod::linear); }},
      {"ShapeTrajectory, cubic", [&] { ShapeTrajectory(raw, {zvd}, ramp, util::timing::ResamplingMethod::cubic); }},
      {"ShapeTrajectory, cubic, uneven times",
       [&] { ShapeTrajectory(longer, {halves}, close_then_apart, util::timing::ResamplingMethod::cubic); }},
      {"JoinMoveAndTail", [&] { JoinMoveAndTail(shaped); }},
      {"PathDeviation", [&] { PathDeviation(raw, shaped); }},
      {"BlendShapedTrajectory", [&] { BlendShapedTrajectory(raw, shaped, 0.5); }},
      {"BlendShapedTrajectory, per sample", [&] { BlendShapedTrajectory(raw, shaped, ramp); }},
      {"BlendShapedTrajectory, transition",
       [&] {
         BlendShapedTrajectory(raw, shaped, WeightTransition{0.5, 0.1});
       }},
      {"BlendedSequence", [&] { BlendedSequence(zvd, 0.5); }},
      {"StreamingShaper", [&] { StreamingShaper(zvd, 3, 0.01); }},
  };
  for (const auto& [name, call] : calls) FailEveryAllocation(name, call, kMostAllocations);
  // These allocate thousands of times in the same few places.
  FailEveryAllocation(
      "ThreeHumpEi", [&] { ThreeHumpEi(mode, 0.05); }, 60);
  FailEveryAllocation(
      "SpecifiedInsensitivity", [&] { SpecifiedInsensitivity(mode, 4.9, 5.1, 0.05); }, 60);
}

}  // namespace
}  // namespace velmora::shaping
