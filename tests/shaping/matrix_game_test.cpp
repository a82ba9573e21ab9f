// Games with known values, and the two inequalities that make a solution one.
// SPDX-License-Identifier: Apache-2.0
#include "shaping/matrix_game.hpp"

#include <gtest/gtest.h>

#include "support/arrays.hpp"
#include "support/generator.hpp"

namespace velmora::shaping {
namespace {

using testing::Rows;

TEST(SolveGame, SolvesMatchingPennies) {
  const GameSolution solution = SolveGame(Rows({{1.0, -1.0}, {-1.0, 1.0}}));
  EXPECT_NEAR(solution.value, 0.0, 1e-15);
  EXPECT_NEAR(solution.column_shares[0], 0.5, 1e-15);
  EXPECT_NEAR(solution.column_shares[1], 0.5, 1e-15);
}

TEST(SolveGame, TakesADominatingColumnAlone) {
  const GameSolution solution = SolveGame(Rows({{0.5, -0.25, 0.75}, {0.25, -0.5, 1.0}}));
  EXPECT_NEAR(solution.value, -0.25, 1e-15);
  EXPECT_EQ(solution.column_shares[0], 0.0);
  EXPECT_EQ(solution.column_shares[1], 1.0);
  EXPECT_EQ(solution.column_shares[2], 0.0);
}

TEST(SolveGame, SolvesOneRowByItsSmallestPayoff) {
  const GameSolution solution = SolveGame(Rows({{0.3, -0.7, 0.1}}));
  EXPECT_NEAR(solution.value, -0.7, 1e-15);
  EXPECT_EQ(solution.column_shares[1], 1.0);
}

// No row exceeds the value, and the transposed game, in which the roles are exchanged, has the negative value: with
// weak duality the two together prove both optimal.
TEST(SolveGame, MeetsItsDual) {
  testing::SplitMix64 random(11);
  for (int k = 0; k < 200; ++k) {
    const Eigen::Index rows = static_cast<Eigen::Index>(1 + random.Below(12));
    const Eigen::Index columns = static_cast<Eigen::Index>(1 + random.Below(20));
    Matrix payoffs(rows, columns);
    // Few different payoffs now and then, so that rows tie.
    const bool ties = random.OneIn(3);
    for (double& payoff : payoffs.reshaped()) {
      payoff = ties ? static_cast<double>(random.Below(3)) - 1.0 : random.Symmetric();
    }
    const GameSolution solution = SolveGame(payoffs);
    EXPECT_NEAR(solution.column_shares.sum(), 1.0, 1e-13);
    EXPECT_GE(solution.column_shares.minCoeff(), 0.0);
    EXPECT_LE((payoffs * solution.column_shares).maxCoeff(), solution.value + 1e-12);
    EXPECT_NEAR(SolveGame(-payoffs.transpose()).value, -solution.value, 1e-12);
  }
}

}  // namespace
}  // namespace velmora::shaping
