// The one exception type that this library throws.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "velmora/native/error.hpp"
#include "velmora/native/export.hpp"

namespace velmora::native {

/// Thrown by every routine at the first of its checks that fails; `what()` is one fixed sentence per check.
///
/// Catch it as `InvalidArgumentError`, `Error`, `std::runtime_error` or `std::exception`. The code is always 0 and the
/// detail always empty. The class is header-only and has default visibility, so it is one and the same type in every
/// shared object of a program.
///
/// @code{.cpp}
/// try {
///   throw velmora::native::InvalidArgumentError("unit_progress must be finite", "unit_progress");
/// } catch (const velmora::native::Error& error) {
///   assert(error.what() == std::string("unit_progress must be finite"));
///   assert(error.argument_name() == "unit_progress");
/// }
/// @endcode
class VELMORA_EXPORT InvalidArgumentError : public Error {
 public:
  /// Takes over its arguments.
  /// @param message text returned by `what()`
  /// @param argument_name name of the offending parameter as the message writes it, or `std::nullopt`
  VELMORA_EXPORT_INLINE InvalidArgumentError(std::string message, std::optional<std::string> argument_name)
      : Error(static_cast<ErrorCode>(0), std::move(message), std::move(argument_name), std::nullopt) {}

  InvalidArgumentError(const InvalidArgumentError&) = default;             ///< Copies all fields.
  InvalidArgumentError(InvalidArgumentError&&) = default;                  ///< Moves all fields.
  InvalidArgumentError& operator=(const InvalidArgumentError&) = default;  ///< Copies all fields. @return this object
  InvalidArgumentError& operator=(InvalidArgumentError&&) = default;       ///< Moves all fields. @return this object
  VELMORA_EXPORT_INLINE ~InvalidArgumentError() override = default;
};

}  // namespace velmora::native
