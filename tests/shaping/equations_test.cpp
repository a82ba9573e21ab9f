// Newton's method on systems with known roots.
// SPDX-License-Identifier: Apache-2.0
#include "shaping/equations.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "support/arrays.hpp"

namespace velmora::shaping {
namespace {

using testing::Values;

TEST(NewtonSteps, SolvesALinearSystemThatNeedsPivots) {
  // 2 y = 4, x + y + z = 6, x - z = -2: the first pivot is zero.
  const Equations equations = [](const Vector& u, Vector& r) {
    r[0] = 2.0 * u[1] - 4.0;
    r[1] = u[0] + u[1] + u[2] - 6.0;
    r[2] = u[0] - u[2] + 2.0;
  };
  const Vector root = NewtonSteps(equations, Values({0.0, 0.0, 0.0}), 3);
  EXPECT_NEAR(root[0], 1.0, 1e-14);
  EXPECT_NEAR(root[1], 2.0, 1e-14);
  EXPECT_NEAR(root[2], 3.0, 1e-14);
}

TEST(NewtonSteps, ConvergesOnANonlinearSystem) {
  const Equations equations = [](const Vector& u, Vector& r) {
    r[0] = u[0] * u[0] + u[1] * u[1] - 25.0;
    r[1] = u[0] * u[1] - 12.0;
  };
  const Vector root = NewtonSteps(equations, Values({5.0, 2.0}), 8);
  EXPECT_NEAR(root[0], 4.0, 1e-13);
  EXPECT_NEAR(root[1], 3.0, 1e-13);
}

TEST(NewtonSteps, DoesExactlyAsManyStepsAsAsked) {
  int evaluations = 0;
  const Equations equations = [&](const Vector& u, Vector& r) {
    ++evaluations;
    r[0] = u[0] * u[0] - 2.0;
  };
  const Vector start = Values({3.0});
  EXPECT_EQ(NewtonSteps(equations, start, 0)[0], 3.0);
  EXPECT_EQ(evaluations, 0);
  EXPECT_NEAR(NewtonSteps(equations, start, 1)[0], 3.0 - 7.0 / 6.0, 1e-6);
  EXPECT_EQ(evaluations, 2) << "one for the residual, one for its slope";
}

TEST(NewtonSteps, ReturnsWhatIsNotFiniteForASingularSystem) {
  const Equations equations = [](const Vector& u, Vector& r) {
    r[0] = u[0] + u[1] - 1.0;
    r[1] = u[0] + u[1] - 2.0;
  };
  EXPECT_FALSE(NewtonSteps(equations, Values({0.0, 0.0}), 2).allFinite());
}

}  // namespace
}  // namespace velmora::shaping
