// The members of the stand-in's error, which the bundled one has inline.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/native/error.hpp"

#include <chrono>
#include <utility>

namespace velmora::native {

Error::Error(ErrorCode code, std::string message, std::optional<std::string> argument_name,
             std::optional<std::string> detail)
    : std::runtime_error(message),
      detail_(std::move(detail)),
      argument_name_(std::move(argument_name)),
      created_at_ns_(std::chrono::steady_clock::now().time_since_epoch().count()),
      code_(code) {}
Error::Error(const Error& other) = default;
Error& Error::operator=(const Error& other) = default;
Error::~Error() = default;

ErrorCode Error::code() const noexcept { return code_; }
const std::optional<std::string>& Error::argument_name() const noexcept { return argument_name_; }
const std::optional<std::string>& Error::detail() const noexcept { return detail_; }

}  // namespace velmora::native
