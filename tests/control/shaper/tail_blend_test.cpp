// The blend of a shaped tail with the held raw endpoint.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/control/shaper/tail_blend.hpp"

#include <gtest/gtest.h>

#include <type_traits>

#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/expect_throws.hpp"

namespace velmora::control::shaper {
namespace {

using native::Matrix;
using testing::ExpectInvalidArgument;
using testing::kInfinity;
using testing::kNan;
using testing::Rows;
using testing::SameBits;
using testing::Values;

static_assert(std::is_same_v<decltype(&BlendTailWithHeldRawEndpoint),
                             ShapedTrajectory (*)(const Vector&, const ShapedTrajectory&, double)>);

constexpr char kLengthMessage[] = "raw_position length mismatch";
constexpr char kShapeMessage[] = "shaped_tail fields must have matching sample and joint shapes";

ShapedTrajectory Tail() {
  return {Rows({{4.0, 1.0}, {5.0, -1.0}, {6.0, 0.5}}), Rows({{6.0, 1.0}, {7.0, 2.0}, {8.0, 3.0}}),
          Rows({{-2.0, 9.0}, {-3.0, 8.0}, {-4.0, 7.0}}), Values({10.0, 10.5, 11.0})};
}

TEST(BlendTailWithHeldRawEndpoint, MixesPositionsWithTheEndpointAndTheRestWithZero) {
  const ShapedTrajectory tail{Rows({{4.0}}), Rows({{6.0}}), Rows({{-8.0}}), Values({1.0})};
  const ShapedTrajectory blend = BlendTailWithHeldRawEndpoint(Values({2.0}), tail, 0.5);
  EXPECT_TRUE(SameBits(Rows({{3.0}}), blend.positions));
  EXPECT_TRUE(SameBits(Rows({{3.0}}), blend.velocities));
  EXPECT_TRUE(SameBits(Rows({{-4.0}}), blend.accelerations));
  EXPECT_TRUE(SameBits(Values({1.0}), blend.time));
}

TEST(BlendTailWithHeldRawEndpoint, HoldsTheEndpointForEverySample) {
  const ShapedTrajectory blend = BlendTailWithHeldRawEndpoint(Values({2.0, 3.0}), Tail(), 0.5);
  EXPECT_TRUE(SameBits(Rows({{3.0, 2.0}, {3.5, 1.0}, {4.0, 1.75}}), blend.positions));
}

TEST(BlendTailWithHeldRawEndpoint, KeepsTheTailWithWeightOne) {
  const ShapedTrajectory tail = Tail();
  const ShapedTrajectory blend = BlendTailWithHeldRawEndpoint(Values({2.0, 3.0}), tail, 1.0);
  EXPECT_EQ(tail.positions, blend.positions);
  EXPECT_EQ(tail.velocities, blend.velocities);
  EXPECT_EQ(tail.accelerations, blend.accelerations);
  EXPECT_TRUE(SameBits(tail.time, blend.time));
}

TEST(BlendTailWithHeldRawEndpoint, RestsAtTheEndpointWithWeightZero) {
  const ShapedTrajectory blend = BlendTailWithHeldRawEndpoint(Values({2.0, 3.0}), Tail(), 0.0);
  EXPECT_EQ(Rows({{2.0, 3.0}, {2.0, 3.0}, {2.0, 3.0}}), blend.positions);
  EXPECT_EQ(Matrix::Zero(3, 2), blend.velocities);
  EXPECT_EQ(Matrix::Zero(3, 2), blend.accelerations);
  EXPECT_TRUE(SameBits(Values({10.0, 10.5, 11.0}), blend.time));
}

TEST(BlendTailWithHeldRawEndpoint, ValidatesNeitherTheWeightNorTheValues) {
  ShapedTrajectory tail = Tail();
  tail.time = Values({kNan, -kInfinity, -0.0});
  tail.positions(1, 0) = kInfinity;
  const ShapedTrajectory blend = BlendTailWithHeldRawEndpoint(Values({2.0, 3.0}), tail, 2.0);
  EXPECT_TRUE(SameBits(tail.time, blend.time));
  EXPECT_TRUE(SameBits(Rows({{6.0, -1.0}, {kInfinity, -5.0}, {10.0, -2.0}}), blend.positions));
  EXPECT_TRUE(SameBits(Rows({{12.0, 2.0}, {14.0, 4.0}, {16.0, 6.0}}), blend.velocities));
  const ShapedTrajectory nan_blend = BlendTailWithHeldRawEndpoint(Values({2.0, 3.0}), tail, kNan);
  EXPECT_TRUE(SameBits(Matrix::Constant(3, 2, kNan), nan_blend.velocities));
}

TEST(BlendTailWithHeldRawEndpoint, AcceptsATailWithoutSamplesOrJoints) {
  const ShapedTrajectory no_samples{Matrix(0, 2), Matrix(0, 2), Matrix(0, 2), Vector(0)};
  const ShapedTrajectory blend = BlendTailWithHeldRawEndpoint(Values({1.0, 2.0}), no_samples, 0.5);
  EXPECT_TRUE(SameBits(Matrix(0, 2), blend.positions));
  EXPECT_TRUE(SameBits(Matrix(0, 2), blend.velocities));
  EXPECT_TRUE(SameBits(Matrix(0, 2), blend.accelerations));
  EXPECT_TRUE(SameBits(Vector(0), blend.time));
  const ShapedTrajectory no_joints{Matrix(2, 0), Matrix(2, 0), Matrix(2, 0), Values({0.0, 1.0})};
  EXPECT_TRUE(SameBits(Matrix(2, 0), BlendTailWithHeldRawEndpoint(Vector(0), no_joints, 0.5).positions));
}

TEST(BlendTailWithHeldRawEndpoint, ThrowsWhenTheEndpointHasAnotherJointCount) {
  for (const Vector& endpoint : {Values({}), Values({1.0}), Values({1.0, 2.0, 3.0})}) {
    ExpectInvalidArgument([&] { BlendTailWithHeldRawEndpoint(endpoint, Tail(), 0.5); }, kLengthMessage);
  }
}

TEST(BlendTailWithHeldRawEndpoint, ReportsTheEndpointBeforeTheFieldsOfTheTail) {
  ShapedTrajectory tail = Tail();
  tail.velocities = Matrix::Zero(2, 2);
  ExpectInvalidArgument([&] { BlendTailWithHeldRawEndpoint(Values({1.0, 2.0, 3.0}), tail, 0.5); }, kLengthMessage);
}

TEST(BlendTailWithHeldRawEndpoint, ThrowsWhenAnyFieldHasAnotherShape) {
  const Vector endpoint = Values({1.0, 2.0});
  const auto expect_mismatch = [&](const ShapedTrajectory& tail) {
    ExpectInvalidArgument([&] { BlendTailWithHeldRawEndpoint(endpoint, tail, 0.5); }, kShapeMessage);
  };
  for (const Matrix& wrong : {Matrix(Matrix::Zero(2, 2)), Matrix(Matrix::Zero(4, 2)), Matrix(Matrix::Zero(3, 1)),
                              Matrix(Matrix::Zero(3, 3)), Matrix(0, 0)}) {
    ShapedTrajectory tail = Tail();
    tail.velocities = wrong;
    expect_mismatch(tail);
    tail = Tail();
    tail.accelerations = wrong;
    expect_mismatch(tail);
  }
  for (const Vector& wrong : {Values({}), Values({0.0, 1.0}), Values({0.0, 1.0, 2.0, 3.0})}) {
    ShapedTrajectory tail = Tail();
    tail.time = wrong;
    expect_mismatch(tail);
  }
}

TEST(BlendTailWithHeldRawEndpoint, LeavesItsArgumentsUnchanged) {
  const ShapedTrajectory tail = Tail();
  const Vector endpoint = Values({2.0, 3.0});
  BlendTailWithHeldRawEndpoint(endpoint, tail, 0.25);
  EXPECT_TRUE(SameBits(Tail().positions, tail.positions));
  EXPECT_TRUE(SameBits(Tail().velocities, tail.velocities));
  EXPECT_TRUE(SameBits(Tail().accelerations, tail.accelerations));
  EXPECT_TRUE(SameBits(Tail().time, tail.time));
  EXPECT_TRUE(SameBits(Values({2.0, 3.0}), endpoint));
}

}  // namespace
}  // namespace velmora::control::shaper
