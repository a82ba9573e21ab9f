// The two array types of every signature, and the conditions under which their results are exact.
#pragma once

#include "velmora/native/eigen_abi.hpp"

#include <Eigen/Core>
#include <cfloat>

static_assert(FLT_EVAL_METHOD == 0,
              "velmora promises results to the last bit: double arithmetic must be evaluated in double precision");

/// Foundations shared by every routine of the library.
namespace velmora::native {

/// Dense row-major matrix of `double`: one row per time sample, one column per joint.
using Matrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

/// Dense column vector of `double`: sample times, joint values or per-sample weights.
using Vector = Eigen::VectorXd;

}  // namespace velmora::native
