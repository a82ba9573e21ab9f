// Array blending and the joint path coordinate.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/control/shaper/blending.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <new>
#include <type_traits>
#include <variant>

#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/expect_throws.hpp"

namespace velmora::control::shaper {
namespace {

using testing::ExpectInvalidArgument;
using testing::ExpectThrows;
using testing::kInfinity;
using testing::kNan;
using testing::Rows;
using testing::SameBits;
using testing::Values;

using Weight = std::variant<double, Vector>;

static_assert(std::is_same_v<decltype(&BlendArrays), Matrix (*)(const Matrix&, const Matrix&, const Weight&)>);
static_assert(std::is_same_v<decltype(&JointPathCoordinate), Vector (*)(const Matrix&)>);

// A vector too long to be counted in bytes fails while the variant holds nothing.
Weight ValuelessWeight() {
  Weight weight = 0.5;
  EXPECT_THROW(weight.emplace<Vector>(std::numeric_limits<Eigen::Index>::max()), std::bad_alloc);
  return weight;
}

TEST(BlendArrays, MixesLinearly) {
  EXPECT_TRUE(SameBits(Rows({{5.0}}), BlendArrays(Rows({{4.0}}), Rows({{8.0}}), 0.25)));
  const Matrix raw = Rows({{1.0, 2.0}, {3.0, 4.0}});
  const Matrix shaped = Rows({{5.0, 8.0}, {7.0, -4.0}});
  EXPECT_TRUE(SameBits(Rows({{3.0, 5.0}, {5.0, 0.0}}), BlendArrays(raw, shaped, 0.5)));
}

TEST(BlendArrays, UsesOneWeightPerSample) {
  const Matrix raw = Rows({{1.0, 2.0}, {3.0, 4.0}, {5.0, 6.0}});
  const Matrix shaped = Rows({{5.0, 8.0}, {7.0, -4.0}, {9.0, 2.0}});
  EXPECT_TRUE(SameBits(Rows({{1.0, 2.0}, {5.0, 0.0}, {9.0, 2.0}}), BlendArrays(raw, shaped, Values({0.0, 0.5, 1.0}))));
}

TEST(BlendArrays, ExtrapolatesBeyondBothArraysWithoutAnyError) {
  EXPECT_TRUE(SameBits(Rows({{1.5 * 8.0 - 0.5 * 4.0}}), BlendArrays(Rows({{4.0}}), Rows({{8.0}}), 1.5)));
  EXPECT_TRUE(SameBits(Rows({{0.0}}), BlendArrays(Rows({{4.0}}), Rows({{8.0}}), -1.0)));
  EXPECT_TRUE(SameBits(Rows({{1.5 * 8.0 - 0.5 * 4.0}}), BlendArrays(Rows({{4.0}}), Rows({{8.0}}), Values({1.5}))));
}

TEST(BlendArrays, LetsNanAndInfinityTakeTheirCourse) {
  const Matrix finite = Rows({{1.0, 2.0}});
  EXPECT_TRUE(SameBits(Rows({{kNan, kNan}}), BlendArrays(finite, finite, kNan)));
  EXPECT_TRUE(SameBits(Rows({{kNan, 2.0}}), BlendArrays(finite, Rows({{kInfinity, 3.0}}), 0.0)));
  EXPECT_TRUE(SameBits(Rows({{kNan, 2.0}}), BlendArrays(Rows({{-kInfinity, 3.0}}), finite, 1.0)));
  EXPECT_TRUE(SameBits(Rows({{kInfinity, 2.0}}), BlendArrays(Rows({{kInfinity, 2.0}}), finite, 0.5)));
  const Matrix two = Rows({{1.0}, {1.0}});
  EXPECT_TRUE(SameBits(Rows({{kNan}, {1.0}}), BlendArrays(two, two, Values({kNan, 0.5}))));
}

// w * shaped is rounded, (1 - w) * raw is not: the other choice, no fusion, and a rounding of both differ here.
TEST(BlendArrays, RoundsTheShapedProductAndFusesTheRawOne) {
  const double raw = 1.0 / 3.0;
  const double shaped = -1.0 / 3.0;
  const double w = 0.1;
  const double expected = std::fma(1.0 - w, raw, w * shaped);
  const double other_fused = std::fma(w, shaped, (1.0 - w) * raw);
  const double product = (1.0 - w) * raw;
  bool told_apart_fused = !SameBits(expected, other_fused);
  bool told_apart_unfused = !SameBits(expected, product + w * shaped);
  EXPECT_TRUE(SameBits(Rows({{expected}}), BlendArrays(Rows({{raw}}), Rows({{shaped}}), w)));
  for (int k = 1; k < 100; ++k) {
    const double r = k / 7.0;
    const double s = k / 11.0;
    const double value = std::fma(1.0 - w, r, w * s);
    EXPECT_TRUE(SameBits(Rows({{value}}), BlendArrays(Rows({{r}}), Rows({{s}}), w)));
    EXPECT_TRUE(SameBits(Rows({{value}}), BlendArrays(Rows({{r}}), Rows({{s}}), Values({w}))));
    const double raw_product = (1.0 - w) * r;
    told_apart_fused |= !SameBits(value, std::fma(w, s, raw_product));
    told_apart_unfused |= !SameBits(value, raw_product + w * s);
  }
  EXPECT_TRUE(told_apart_fused);
  EXPECT_TRUE(told_apart_unfused);
}

TEST(BlendArrays, KeepsTheShapeOfArraysWithoutElements) {
  EXPECT_TRUE(SameBits(Matrix(0, 3), BlendArrays(Matrix(0, 3), Matrix(0, 3), 0.5)));
  EXPECT_TRUE(SameBits(Matrix(0, 3), BlendArrays(Matrix(0, 3), Matrix(0, 3), Vector(0))));
  EXPECT_TRUE(SameBits(Matrix(2, 0), BlendArrays(Matrix(2, 0), Matrix(2, 0), Values({0.1, 0.2}))));
  ExpectInvalidArgument([] { BlendArrays(Matrix(0, 3), Matrix(0, 3), Values({0.5})); },
                        "per-sample shaping weights must match the sample count");
  ExpectInvalidArgument([] { BlendArrays(Matrix(2, 0), Matrix(2, 0), Values({0.5})); },
                        "per-sample shaping weights must match the sample count");
}

TEST(BlendArrays, ThrowsWhenTheShapesDifferWhateverTheWeight) {
  const Matrix raw = Matrix::Zero(3, 2);
  for (const Matrix& shaped : {Matrix(Matrix::Zero(2, 3)), Matrix(Matrix::Zero(3, 3)), Matrix(Matrix::Zero(2, 2)),
                               Matrix(Matrix::Zero(3, 0)), Matrix(Matrix::Zero(0, 2))}) {
    for (const Weight& weight : {Weight(0.5), Weight(kNan), Weight(Values({0.1, 0.2, 0.3})), Weight(Values({0.1}))}) {
      ExpectInvalidArgument([&] { BlendArrays(raw, shaped, weight); },
                            "raw and shaped arrays must have the same shape");
    }
  }
}

TEST(BlendArrays, ThrowsWhenTheWeightsDoNotMatchTheSamples) {
  const Matrix array = Matrix::Zero(3, 2);
  for (const Vector& weights : {Values({}), Values({0.1, 0.2}), Values({0.1, 0.2, 0.3, 0.4})}) {
    ExpectInvalidArgument([&] { BlendArrays(array, array, weights); },
                          "per-sample shaping weights must match the sample count");
  }
}

TEST(BlendArrays, ReportsAValuelessWeightAfterTheShapes) {
  const Weight weight = ValuelessWeight();
  ASSERT_TRUE(weight.valueless_by_exception());
  ExpectThrows<std::bad_variant_access>([&] { BlendArrays(Matrix(3, 2), Matrix(3, 2), weight); },
                                        "std::get: variant is valueless");
  ExpectInvalidArgument([&] { BlendArrays(Matrix(3, 2), Matrix(2, 3), weight); },
                        "raw and shaped arrays must have the same shape");
}

TEST(BlendArrays, LeavesItsArgumentsUnchanged) {
  const Matrix raw = Rows({{1.0, kNan}, {-0.0, 4.0}});
  const Matrix shaped = Rows({{5.0, 8.0}, {kInfinity, -4.0}});
  const Weight weight = Values({0.25, kNan});
  const Matrix raw_before = raw;
  const Matrix shaped_before = shaped;
  BlendArrays(raw, shaped, weight);
  ExpectInvalidArgument([&] { BlendArrays(raw, Matrix(1, 1), weight); },
                        "raw and shaped arrays must have the same shape");
  EXPECT_TRUE(SameBits(raw_before, raw));
  EXPECT_TRUE(SameBits(shaped_before, shaped));
  EXPECT_TRUE(SameBits(Values({0.25, kNan}), std::get<Vector>(weight)));
}

TEST(JointPathCoordinate, SumsTheLengthsOfTheSteps) {
  EXPECT_TRUE(SameBits(Values({0.0, 5.0, 5.0, 10.0}),
                       JointPathCoordinate(Rows({{0.0, 0.0}, {3.0, 4.0}, {3.0, 4.0}, {6.0, 8.0}}))));
}

TEST(JointPathCoordinate, HasNoLengthForFewerThanTwoSamplesOrWithoutJoints) {
  EXPECT_TRUE(SameBits(Vector(0), JointPathCoordinate(Matrix(0, 4))));
  EXPECT_TRUE(SameBits(Values({0.0}), JointPathCoordinate(Rows({{3.0, 4.0}}))));
  EXPECT_TRUE(SameBits(Values({0.0}), JointPathCoordinate(Rows({{kNan}}))));
  EXPECT_TRUE(SameBits(Values({0.0, 0.0, 0.0}), JointPathCoordinate(Matrix(3, 0))));
}

TEST(JointPathCoordinate, PropagatesWhatIsNotFiniteFromItsSampleOn) {
  const Vector coordinate = JointPathCoordinate(Rows({{0.0}, {1.0}, {kInfinity}, {2.0}, {3.0}}));
  EXPECT_TRUE(SameBits(Values({0.0, 1.0, kInfinity, kInfinity, kInfinity}), coordinate));
  EXPECT_TRUE(SameBits(Values({0.0, 1.0, kNan, kNan}), JointPathCoordinate(Rows({{0.0}, {1.0}, {kNan}, {2.0}}))));
}

// The norm is the plain root of the sum of squares: no scaling saves a step whose square overflows or vanishes.
TEST(JointPathCoordinate, SquaresWithoutScaling) {
  EXPECT_TRUE(SameBits(Values({0.0, kInfinity}), JointPathCoordinate(Rows({{0.0}, {1e200}}))));
  EXPECT_TRUE(SameBits(Values({0.0, 0.0}), JointPathCoordinate(Rows({{0.0}, {1e-200}}))));
}

}  // namespace
}  // namespace velmora::control::shaper
