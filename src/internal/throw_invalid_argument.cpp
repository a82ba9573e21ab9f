// The throw site that all checks share.
// SPDX-License-Identifier: Apache-2.0
#include "internal/throw_invalid_argument.hpp"

#include <optional>
#include <utility>

#include "velmora/native/invalid_argument_error.hpp"

namespace velmora::internal {

void ThrowInvalidArgument(std::string message) { throw native::InvalidArgumentError(std::move(message), std::nullopt); }

}  // namespace velmora::internal
