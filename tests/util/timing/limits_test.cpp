// The checks of joint-state limits.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/util/timing/limits.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <type_traits>

#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/expect_throws.hpp"

namespace velmora::util::timing {
namespace {

using testing::ExpectInvalidArgument;
using testing::kInfinity;
using testing::kLargest;
using testing::kNan;
using testing::SameBits;
using testing::Values;

using OptionalBox = std::optional<JointStateBox>;

static_assert(sizeof(JointStateBox) == 2 * sizeof(Vector), "two fields and nothing else");
static_assert(sizeof(JointStateLimits) == 4 * sizeof(OptionalBox), "four fields and nothing else");
static_assert(std::is_constructible_v<JointStateBox, Vector, Vector>);
static_assert(std::is_constructible_v<JointStateLimits, OptionalBox, OptionalBox, OptionalBox, OptionalBox>);
static_assert(std::is_copy_constructible_v<JointStateBox> && std::is_copy_assignable_v<JointStateBox>);
static_assert(std::is_nothrow_move_constructible_v<JointStateBox> && std::is_move_assignable_v<JointStateBox>);
static_assert(std::is_copy_constructible_v<JointStateLimits> && std::is_move_constructible_v<JointStateLimits>);

constexpr char kShapes[] = "Lower and upper limits must have matching shapes.";
constexpr char kFinite[] = "Joint-state limits must contain only finite values.";
constexpr char kOrder[] = "Lower limits cannot exceed upper limits.";
constexpr char kJointCounts[] = "Position, velocity, acceleration, and jerk limits must have matching shapes.";

JointStateBox BoxOf(Eigen::Index joints) { return {Vector::Constant(joints, -1.0), Vector::Constant(joints, 1.0)}; }

TEST(JointStateBox, HoldsItsFieldsInTheDocumentedOrder) {
  const JointStateBox box = BoxOf(1);
  EXPECT_EQ(static_cast<const void*>(&box.lower), static_cast<const void*>(&box));
  EXPECT_EQ(reinterpret_cast<const char*>(&box.upper) - reinterpret_cast<const char*>(&box),
            static_cast<long>(sizeof(Vector)));
}

TEST(JointStateBox, KeepsTheLimitsUnchanged) {
  const JointStateBox box(Values({1.0, -2.0, -0.0, -kLargest}), Values({1.0, -2.0, 0.0, kLargest}));
  EXPECT_TRUE(SameBits(Values({1.0, -2.0, -0.0, -kLargest}), box.lower));
  EXPECT_TRUE(SameBits(Values({1.0, -2.0, 0.0, kLargest}), box.upper));
}

TEST(JointStateBox, TakesOverTheBuffers) {
  Vector lower = Values({1.0, 2.0});
  Vector upper = Values({3.0, 4.0});
  const double* lower_buffer = lower.data();
  const double* upper_buffer = upper.data();
  const JointStateBox box(std::move(lower), std::move(upper));
  EXPECT_EQ(box.lower.data(), lower_buffer);
  EXPECT_EQ(box.upper.data(), upper_buffer);
}

TEST(JointStateBox, AcceptsNoJointsAndEqualLimits) {
  EXPECT_EQ(JointStateBox(Vector(0), Vector(0)).lower.size(), 0);
  EXPECT_NO_THROW(JointStateBox(Values({1.0, -2.0}), Values({1.0, -2.0})));
  EXPECT_NO_THROW(JointStateBox(Values({0.0}), Values({-0.0})));
  EXPECT_NO_THROW(JointStateBox(Values({3.0}), Values({4.0}))) << "a box need not contain zero";
}

TEST(JointStateBox, ThrowsWhenTheLengthsDiffer) {
  ExpectInvalidArgument([] { JointStateBox(Values({1.0, 2.0}), Values({1.0, 2.0, 3.0})); }, kShapes);
  ExpectInvalidArgument([] { JointStateBox(Vector(0), Values({1.0})); }, kShapes);
  ExpectInvalidArgument([] { JointStateBox(Values({kNan, kNan}), Values({kNan, kNan, kNan})); }, kShapes);
}

TEST(JointStateBox, ThrowsWhenALimitIsNotFinite) {
  for (const double bad : {kNan, kInfinity, -kInfinity}) {
    ExpectInvalidArgument([=] { JointStateBox(Values({0.0, bad}), Values({1.0, 1.0})); }, kFinite);
    ExpectInvalidArgument([=] { JointStateBox(Values({0.0, 0.0}), Values({bad, 1.0})); }, kFinite);
  }
}

TEST(JointStateBox, TestsFinitenessOverAllJointsBeforeTheOrder) {
  ExpectInvalidArgument([] { JointStateBox(Values({2.0, 0.0}), Values({1.0, kNan})); }, kFinite);
  ExpectInvalidArgument([] { JointStateBox(Values({2.0, kNan}), Values({1.0, 0.0})); }, kFinite);
}

TEST(JointStateBox, ThrowsWhenALowerLimitExceedsTheUpper) {
  ExpectInvalidArgument([] { JointStateBox(Values({0.0}), Values({-1e-9})); }, kOrder);
  ExpectInvalidArgument([] { JointStateBox(Values({0.0, 0.0, 1.0}), Values({1.0, 1.0, 0.9999999999999999})); }, kOrder);
}

TEST(JointStateLimits, HoldsItsFieldsInTheDocumentedOrder) {
  const JointStateLimits limits(std::nullopt, std::nullopt, std::nullopt, std::nullopt);
  const char* start = reinterpret_cast<const char*>(&limits);
  constexpr long kSize = sizeof(OptionalBox);
  EXPECT_EQ(reinterpret_cast<const char*>(&limits.position) - start, 0);
  EXPECT_EQ(reinterpret_cast<const char*>(&limits.velocity) - start, kSize);
  EXPECT_EQ(reinterpret_cast<const char*>(&limits.acceleration) - start, 2 * kSize);
  EXPECT_EQ(reinterpret_cast<const char*>(&limits.jerk) - start, 3 * kSize);
}

TEST(JointStateLimits, AcceptsEverySubsetOfEqualJointCounts) {
  for (unsigned present = 0; present < 16; ++present) {
    const auto box = [&](unsigned field) {
      return (present >> field & 1U) != 0 ? OptionalBox(BoxOf(3)) : std::nullopt;
    };
    const JointStateLimits limits(box(0), box(1), box(2), box(3));
    EXPECT_EQ(limits.position.has_value(), (present & 1U) != 0);
    EXPECT_EQ(limits.velocity.has_value(), (present & 2U) != 0);
    EXPECT_EQ(limits.acceleration.has_value(), (present & 4U) != 0);
    EXPECT_EQ(limits.jerk.has_value(), (present & 8U) != 0);
  }
}

TEST(JointStateLimits, ThrowsWhenAnyTwoPresentBoxesDiffer) {
  for (unsigned first = 0; first < 4; ++first) {
    for (unsigned second = first + 1; second < 4; ++second) {
      for (const bool others_present : {false, true}) {
        const auto box = [&](unsigned field) -> OptionalBox {
          if (field == first) return BoxOf(3);
          if (field == second) return BoxOf(2);
          return others_present ? OptionalBox(BoxOf(3)) : std::nullopt;
        };
        ExpectInvalidArgument([&] { JointStateLimits(box(0), box(1), box(2), box(3)); }, kJointCounts);
      }
    }
  }
}

TEST(JointStateLimits, CountsABoxWithoutJointsAsPresent) {
  ExpectInvalidArgument([] { JointStateLimits(BoxOf(3), BoxOf(0), std::nullopt, std::nullopt); }, kJointCounts);
  EXPECT_NO_THROW(JointStateLimits(BoxOf(0), std::nullopt, BoxOf(0), std::nullopt));
}

}  // namespace
}  // namespace velmora::util::timing
