// Reference for the not-a-knot cubic spline and for resampling by it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "oracle/table.hpp"
#include "oracle/trajectory.hpp"

namespace velmora::oracle {

struct CubicSpline {
  std::vector<double> x;
  Table a;
  Table b;
  Table c;
  Table d;
};

/// The dense system in the knot second derivatives for N >= 3 knots, N x N and N x J.
struct KnotSystem {
  Table matrix;
  Table right_hand_side;
};

std::vector<double> Intervals(const std::vector<double>& x);

KnotSystem AssembleKnotSystem(const std::vector<double>& h, const Table& y);

/// Solves the dense system by row-pivoted LU factorisation, by that of the matrix library: another implementation of
/// the same operations, to the last bit where it is compiled for plain x86-64.
Table SolveKnotSecondDerivatives(const std::vector<double>& h, const Table& y);

/// Throws `Failure`.
CubicSpline BuildCubicSpline(const std::vector<double>& x, const Table& y);

Table EvaluateCubicSpline(const CubicSpline& spline, const std::vector<double>& query_times,
                          std::uint32_t derivative_order);

Trajectory ResampleTrajectoryCubic(const Trajectory& trajectory, double sample_time_s, int grid_mode);

Trajectory ResampleTrajectory(const Trajectory& trajectory, double sample_time_s, int method, int grid_mode,
                              bool strict_cubic);

}  // namespace velmora::oracle
