// The base class of the errors of this library family.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "velmora/native/export.hpp"

namespace velmora::native {

/// Category of an `Error`. Every error of this library has the value 0.
enum class ErrorCode : int {
  invalid_argument = 0,  ///< an argument broke a documented rule
};

/// Exception base class: a message and, optionally, the argument it concerns and a detail.
///
/// `what()` returns the message unchanged. The class has default visibility so that a handler in another shared
/// object catches it by type.
///
/// Thread safety: no shared state; an exception object belongs to the thread that handles it.
///
/// @code{.cpp}
/// using velmora::native::ErrorCode;
/// const velmora::native::Error error(ErrorCode::invalid_argument, "rate must be positive", "rate", std::nullopt);
/// assert(error.what() == std::string("rate must be positive"));
/// assert(error.argument_name() == "rate");
/// @endcode
class VELMORA_EXPORT Error : public std::runtime_error {
 public:
  /// Takes over its arguments.
  /// @param code category of the error
  /// @param message text returned by `what()`
  /// @param argument_name name of the offending parameter, if the message is about one
  /// @param detail further explanation, if there is one
  // By value, as the family's interface has it, although the standard base class copies the text once more.
  // NOLINTNEXTLINE(performance-unnecessary-value-param)
  Error(ErrorCode code, std::string message, std::optional<std::string> argument_name,
        std::optional<std::string> detail)
      : std::runtime_error(message),
        code_(code),
        argument_name_(std::move(argument_name)),
        detail_(std::move(detail)) {}

  Error(const Error&) = default;             ///< Copies all fields.
  Error(Error&&) = default;                  ///< Moves all fields.
  Error& operator=(const Error&) = default;  ///< Copies all fields. @return this object
  Error& operator=(Error&&) = default;       ///< Moves all fields. @return this object
  ~Error() override = default;

  /// Category of the error.
  /// @return `ErrorCode::invalid_argument` for every error of this library
  ErrorCode code() const noexcept { return code_; }

  /// Name of the offending parameter.
  /// @return "unit_progress" for the error of `Smootherstep`; no value for every other error of this library
  const std::optional<std::string>& argument_name() const noexcept { return argument_name_; }

  /// Further explanation.
  /// @return no value for every error of this library
  const std::optional<std::string>& detail() const noexcept { return detail_; }

 private:
  ErrorCode code_;
  std::optional<std::string> argument_name_;
  std::optional<std::string> detail_;
};

}  // namespace velmora::native
