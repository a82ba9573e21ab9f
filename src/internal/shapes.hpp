// Equality of matrix shapes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"

namespace velmora::internal {

inline bool HaveSameShape(const native::Matrix& a, const native::Matrix& b) {
  return a.rows() == b.rows() && a.cols() == b.cols();
}

}  // namespace velmora::internal
