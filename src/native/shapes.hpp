// Equality of matrix shapes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"

namespace velmora::native {

inline bool HaveSameShape(const Matrix& a, const Matrix& b) { return a.rows() == b.rows() && a.cols() == b.cols(); }

}  // namespace velmora::native
