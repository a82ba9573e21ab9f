// The one rule on tolerated residual vibrations.
// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace velmora::shaping {

/// @throws native::InvalidArgumentError "tolerance must be in (0, 1)."
void ValidateTolerance(double tolerance);

}  // namespace velmora::shaping
