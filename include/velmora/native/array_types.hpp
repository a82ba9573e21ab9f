// The two array types of every signature.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/eigen_abi.hpp"

#include <Eigen/Core>

/// Foundations shared by every routine of the library.
///
/// @code{.cpp}
/// velmora::native::Matrix positions(2, 3);  // 2 samples of 3 joints
/// positions << 0.0, 0.1, 0.2,               //
///     1.0, 1.1, 1.2;
/// const velmora::native::Vector last = positions.row(1);
/// assert(last[2] == positions(1, 2));
/// @endcode
namespace velmora::native {

/// Dense row-major matrix of `double`: one row per time sample, one column per joint.
using Matrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

/// Dense column vector of `double`: sample times, joint values or per-sample weights.
using Vector = Eigen::VectorXd;

}  // namespace velmora::native
