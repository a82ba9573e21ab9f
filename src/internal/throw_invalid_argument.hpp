// The throw site that all checks share.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace velmora::internal {

/// Throws `InvalidArgumentError` with this message and no argument name.
[[noreturn]] void ThrowInvalidArgument(std::string message);

}  // namespace velmora::internal
