// The throw site that all checks share.
// SPDX-License-Identifier: Apache-2.0
#include "native/throw_invalid_argument.hpp"

#include <optional>
#include <utility>

#include "velmora/native/invalid_argument_error.hpp"

namespace velmora::native {

void ThrowInvalidArgument(std::string message) { throw InvalidArgumentError(std::move(message), std::nullopt); }

}  // namespace velmora::native
