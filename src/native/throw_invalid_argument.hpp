// The throw site that all checks share.
#pragma once

#include <string>

namespace velmora::native {

/// Throws `InvalidArgumentError` with this message and no argument name.
[[noreturn]] void ThrowInvalidArgument(std::string message);

}  // namespace velmora::native
