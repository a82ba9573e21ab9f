// Allocation of results.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"

namespace velmora::internal {

/// A matrix whose elements are still to be written. On Linux one of several megabytes asks for huge pages, in the
/// memory that belongs to it alone: where memory is new, the kernel then provides 2 MiB at a time instead of 4 KiB.
/// @throws std::bad_alloc
native::Matrix UnwrittenMatrix(Eigen::Index rows, Eigen::Index cols);

}  // namespace velmora::internal
